// A shared library that exports nothing that a host looks for.
extern "C" void orvan_empty_library() {}
