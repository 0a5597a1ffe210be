// The ends of the C++ run time as the tool has them: whatever would throw stops the process instead.
//
// The product has no exceptions, but the library's own containers could throw, and the static run time would bring the
// whole machinery for it along: unwinder, demangler, thread-local state. A setuid program should hold nothing that it
// never uses, and it starts faster without. For the tool alone: a host of the library has a run time of its own.

#include <cstdlib>
#include <new>

void* operator new(std::size_t size) {
    void* const memory = std::malloc(size != 0 ? size : 1);
    if (memory == nullptr) {
        std::abort();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

// NOLINTBEGIN(bugprone-reserved-identifier): these are the names by which the library's headers call for an exception,
// and the compiler for a pure virtual function.
extern "C" [[noreturn]] void __cxa_pure_virtual() {
    std::abort();
}

namespace std {

[[noreturn]] void __throw_bad_alloc() {
    abort();
}

[[noreturn]] void __throw_bad_array_new_length() {
    abort();
}

[[noreturn]] void __throw_length_error(const char* /*what*/) {
    abort();
}

[[noreturn]] void __throw_logic_error(const char* /*what*/) {
    abort();
}

[[noreturn]] void __throw_system_error(int /*error*/) {
    abort();
}

[[noreturn]] void __throw_out_of_range_fmt(const char* /*what*/, ...) {
    abort();
}

} // namespace std
// NOLINTEND(bugprone-reserved-identifier)
