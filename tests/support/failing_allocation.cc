#include "support/failing_allocation.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <new>

#ifdef __SANITIZE_ADDRESS__
#define VRN_REAL(name) __interceptor_##name
// Texts of strdup() and its like come from the sanitizer, which looks for leaks by itself.
constexpr bool counts_blocks = false;
#else
#define VRN_REAL(name) __libc_##name
constexpr bool counts_blocks = true;
#endif

extern "C" {
void *VRN_REAL(malloc)(std::size_t size);
void *VRN_REAL(calloc)(std::size_t count, std::size_t size);
void *VRN_REAL(realloc)(void *memory, std::size_t size);
void VRN_REAL(free)(void *memory);
}

namespace vrn::test {

int allocations_left = -1;
long allocated_blocks = 0;
int failed_allocations = 0;

namespace {

bool shortage_lasts = false;
int planned_successes = -1;

bool fails_now() {
    if (allocations_left < 0) return false;
    const bool is_the_one = allocations_left == 0;
    if (!is_the_one || !shortage_lasts) --allocations_left;
    if (!is_the_one) return false;
    ++failed_allocations;
    errno = ENOMEM;
    return true;
}

void *counted(void *memory) {
    if (memory && counts_blocks) ++allocated_blocks;
    return memory;
}

// Whether the allocation that was to fail was reached.
bool strikes(const std::function<std::string()> &work, const std::string &expected, int successes,
             bool lasts) {
    const testing::ScopedTrace trace(__FILE__, __LINE__,
                                     std::to_string(successes) + (lasts ? " and on" : ""));
    const long blocks_before = allocated_blocks;
    planned_successes = successes;
    shortage_lasts = lasts;
    if (const std::string result = work(); !result.empty() || failed_allocations == 0) {
        EXPECT_EQ(result, expected);
    }
    EXPECT_EQ(allocated_blocks, blocks_before) << "leaked blocks";
    return failed_allocations > 0;
}

}  // namespace

void begin_shortage(int successes, bool lasts) {
    failed_allocations = 0;
    shortage_lasts = lasts;
    allocations_left = successes;
}

void start_shortage() {
    begin_shortage(planned_successes, shortage_lasts);
}

void end_shortage() {
    allocations_left = -1;
}

void expect_all_or_nothing(const std::function<std::string()> &work) {
    planned_successes = -1;
    const std::string expected = work();
    EXPECT_NE(expected, "");
    for (const bool lasts : {false, true})
        for (int successes = 0; strikes(work, expected, successes, lasts);) ++successes;
}

}  // namespace vrn::test

// The program's own allocation functions come before those of the libraries.
extern "C" {

void *malloc(std::size_t size) {
    return vrn::test::fails_now() ? nullptr : vrn::test::counted(VRN_REAL(malloc)(size));
}

void *calloc(std::size_t count, std::size_t size) {
    return vrn::test::fails_now() ? nullptr : vrn::test::counted(VRN_REAL(calloc)(count, size));
}

void *realloc(void *memory, std::size_t size) {
    if (vrn::test::fails_now()) return nullptr;
    void *moved = VRN_REAL(realloc)(memory, size);
    return memory ? moved : vrn::test::counted(moved);
}

void free(void *memory) {
    if (memory && counts_blocks) --vrn::test::allocated_blocks;
    VRN_REAL(free)(memory);
}
}

void *operator new(std::size_t size) {
    void *memory = std::malloc(size);
    if (!memory) throw std::bad_alloc();
    return memory;
}

void *operator new(std::size_t size, const std::nothrow_t & /*unused*/) noexcept {
    return std::malloc(size);
}

void *operator new[](std::size_t size) {
    return ::operator new(size);
}

void operator delete(void *memory) noexcept {
    std::free(memory);
}

void operator delete(void *memory, std::size_t /*unused*/) noexcept {
    std::free(memory);
}

void operator delete[](void *memory) noexcept {
    std::free(memory);
}

void operator delete[](void *memory, std::size_t /*unused*/) noexcept {
    std::free(memory);
}
