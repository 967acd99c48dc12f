#pragma once

#include <memory>
#include <memory_resource>

namespace Topology {

/**
 * Memory of one tree's nodes, taken in large pieces and given back as a whole when the last node
 * that was made in it is gone. A board is loaded and dropped as a whole; asking the heap for every
 * node would cost more than reading the text, and would leave the heap fragmented.
 */
using TreeMemory = std::pmr::monotonic_buffer_resource;

/** Where nodes are made at present; null: on the heap. */
inline std::shared_ptr<TreeMemory> currentTreeMemory;

/** Makes nodes in one tree's memory, which it keeps alive for them. */
template <class T>
class NodeAllocator {
  public:
    using value_type = T; ///< what is allocated

    /** @param memory  of the tree; not null */
    explicit NodeAllocator( std::shared_ptr<TreeMemory> memory ) : memory_( std::move( memory ) ) {}
    /** The same memory for another type. */
    template <class U>
    NodeAllocator( const NodeAllocator<U> &other ) : memory_( other.memory() ) {}

    /** Room for @p n objects. @throws std::bad_alloc when there is none */
    T *allocate( size_t n ) {
        return static_cast<T *>( memory_->allocate( n * sizeof( T ), alignof( T ) ) );
    }
    /** Does nothing: the memory goes as a whole. */
    void deallocate( T *, size_t ) {}

    /** The tree's memory. */
    const std::shared_ptr<TreeMemory> &memory() const { return memory_; }
    /** Whether both allocate from the same memory. */
    template <class U>
    bool operator==( const NodeAllocator<U> &other ) const {
        return memory_ == other.memory();
    }

  private:
    std::shared_ptr<TreeMemory> memory_;
};

/** While it lives, nodes are made in a memory of their own. */
class TreeMemoryScope {
  public:
    /** Begins a tree's memory. */
    TreeMemoryScope() { currentTreeMemory = std::make_shared<TreeMemory>(); }
    /** From now on nodes are made on the heap; the tree's memory stays as long as its nodes. */
    ~TreeMemoryScope() { currentTreeMemory.reset(); }
    TreeMemoryScope( const TreeMemoryScope & ) = delete;
    TreeMemoryScope &operator=( const TreeMemoryScope & ) = delete;
};

/** Makes a node, in the current tree's memory where there is one. */
template <class T>
std::shared_ptr<T> makeNode() {
    if ( !currentTreeMemory ) {
        return std::make_shared<T>();
    }
    return std::allocate_shared<T>( NodeAllocator<T>( currentTreeMemory ) );
}

} // namespace Topology
