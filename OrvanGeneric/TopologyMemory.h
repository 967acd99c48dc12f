#pragma once

#include <memory>
#include <memory_resource>

namespace Topology {

/**
 * Memory of one tree's nodes, taken in large pieces and given back as a whole when the last node
 * that was made in it is gone. A board is loaded and dropped at once; asking the heap for every
 * node would cost more than reading the text, and would leave the heap in crumbs behind it.
 */
using TreeMemory = std::pmr::monotonic_buffer_resource;

/** Where nodes are made at present; null: on the heap. */
inline std::shared_ptr<TreeMemory> currentTreeMemory;

/** Makes nodes in one tree's memory, which it keeps alive for them. */
template <class T>
class NodeAllocator {
  public:
    using value_type = T;

    explicit NodeAllocator( std::shared_ptr<TreeMemory> memory ) : memory_( std::move( memory ) ) {}
    template <class U>
    NodeAllocator( const NodeAllocator<U> &other ) : memory_( other.memory() ) {}

    T *allocate( size_t n ) {
        return static_cast<T *>( memory_->allocate( n * sizeof( T ), alignof( T ) ) );
    }
    void deallocate( T *, size_t ) {}

    const std::shared_ptr<TreeMemory> &memory() const { return memory_; }
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
    TreeMemoryScope() { currentTreeMemory = std::make_shared<TreeMemory>(); }
    ~TreeMemoryScope() { currentTreeMemory.reset(); }
    TreeMemoryScope( const TreeMemoryScope & ) = delete;
    TreeMemoryScope &operator=( const TreeMemoryScope & ) = delete;
};

/** A new node. */
template <class T>
std::shared_ptr<T> makeNode() {
    if ( !currentTreeMemory ) {
        return std::make_shared<T>();
    }
    return std::allocate_shared<T>( NodeAllocator<T>( currentTreeMemory ) );
}

} // namespace Topology
