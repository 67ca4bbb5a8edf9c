// The counting allocator of the allocation test (see alloc_counter.h).
#include "tests/reliability/alloc_counter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<int> gCounting;
std::atomic<int64_t> gCount;

void Note() {
    if (gCounting.load(std::memory_order_relaxed)) gCount.fetch_add(1, std::memory_order_relaxed);
}
}  // namespace

void AllocCountStart() {
    gCount.store(0);
    gCounting.store(1);
}

int64_t AllocCountStop() {
    gCounting.store(0);
    return gCount.load();
}

// The linker sends the program's malloc, calloc and realloc here; __real_* are the
// library's own (or the sanitizer's, in sanitizer builds).
extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);

void* __wrap_malloc(size_t size) {
    Note();
    return __real_malloc(size);
}
void* __wrap_calloc(size_t count, size_t size) {
    Note();
    return __real_calloc(count, size);
}
void* __wrap_realloc(void* block, size_t size) {
    Note();
    return __real_realloc(block, size);
}
}

namespace {
void* Allocate(size_t size) {
    Note();
    return __real_malloc(size ? size : 1);
}
void* AllocateAligned(size_t size, std::align_val_t alignment) {
    Note();
    void* block = nullptr;
    const size_t a = static_cast<size_t>(alignment) < sizeof(void*)
                         ? sizeof(void*)
                         : static_cast<size_t>(alignment);
    return posix_memalign(&block, a, size ? size : 1) == 0 ? block : nullptr;
}
}  // namespace

void* operator new(size_t size) {
    if (void* p = Allocate(size)) return p;
    throw std::bad_alloc();
}
void* operator new[](size_t size) {
    if (void* p = Allocate(size)) return p;
    throw std::bad_alloc();
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void* operator new(size_t size, std::align_val_t alignment) {
    if (void* p = AllocateAligned(size, alignment)) return p;
    throw std::bad_alloc();
}
void* operator new[](size_t size, std::align_val_t alignment) {
    if (void* p = AllocateAligned(size, alignment)) return p;
    throw std::bad_alloc();
}
void* operator new(size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return AllocateAligned(size, alignment);
}
void* operator new[](size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return AllocateAligned(size, alignment);
}

void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, size_t) noexcept {
    std::free(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}
void operator delete(void* p, std::align_val_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::align_val_t) noexcept {
    std::free(p);
}
void operator delete(void* p, size_t, std::align_val_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, size_t, std::align_val_t) noexcept {
    std::free(p);
}
void operator delete(void* p, std::align_val_t, const std::nothrow_t&) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::align_val_t, const std::nothrow_t&) noexcept {
    std::free(p);
}
