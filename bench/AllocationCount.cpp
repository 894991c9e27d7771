// Replaces the global allocation of the whole process. In a file of its own, so that the compiler can't pair
// an inlined half of it with the library's other half.
#include "AllocationCount.h"

#include <cstdlib>
#include <new>

namespace {

thread_local long long t_allocations = 0;

}  // namespace

long long allocationCount() { return t_allocations; }

void* operator new(std::size_t size) {
    ++t_allocations;
    if (void* memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
