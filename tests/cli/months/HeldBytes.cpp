#include "cli/months/HeldBytes.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include <malloc.h>

namespace {

std::atomic<std::ptrdiff_t> held;

}  // namespace

namespace tovri::test {

std::ptrdiff_t heldBytes() {
    return held;
}

}  // namespace tovri::test

// NOLINTBEGIN(cppcoreguidelines-no-malloc, hicpp-no-malloc, cppcoreguidelines-owning-memory)
// All other forms come to these, but for those of types that are aligned wider than usual.
void* operator new(std::size_t size) {
    void* const memory = std::malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    held += static_cast<std::ptrdiff_t>(::malloc_usable_size(memory));
    return memory;
}

void operator delete(void* memory) noexcept {
    held -= static_cast<std::ptrdiff_t>(::malloc_usable_size(memory));
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    operator delete(memory);
}

// NOLINTEND(cppcoreguidelines-no-malloc, hicpp-no-malloc, cppcoreguidelines-owning-memory)
