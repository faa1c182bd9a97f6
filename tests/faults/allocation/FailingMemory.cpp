// Forwards to the C library's own allocator, which has a second name.
#include "FailingMemory.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <execinfo.h>
#include <malloc.h>
#include <unistd.h>

extern "C" {

// The C library's names.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* address, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* address);
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
}

namespace FailingMemory {

namespace {

constexpr std::size_t kSlots = std::size_t{1} << 16;
constexpr int kFrames = 64;

bool isFailing = false;
bool isNoting = false;
bool hasFailed = false;
EMode failureMode = EMode::Once;
std::uint64_t callsLeft = 0;
void* failedFrames[kFrames];
int failedFrameCount = 0;

/// A table by address with open addressing, because it is filled inside the allocator.
Block slots[kSlots];
std::size_t slotsInUse = 0;

std::size_t SlotOf(const void* address)
{
    return (reinterpret_cast<std::uintptr_t>(address) >> 4U) * 0x9E3779B97F4A7C15U >> 48U;
}

void Add(void* address, std::size_t size)
{
    if (!isNoting || address == nullptr) {
        return;
    }
    if (++slotsInUse == kSlots) {
        std::abort();
    }
    std::size_t slot = SlotOf(address);
    while (slots[slot].address != nullptr) {
        slot = (slot + 1) % kSlots;
    }
    slots[slot] = {address, size};
}

void Remove(const void* address)
{
    if (slotsInUse == 0 || address == nullptr) {
        return;
    }
    std::size_t slot = SlotOf(address);
    while (slots[slot].address != address) {
        if (slots[slot].address == nullptr) {
            return;
        }
        slot = (slot + 1) % kSlots;
    }
    --slotsInUse;
    // Later entries move up, so that no search ends at the gap.
    std::size_t gap = slot;
    for (std::size_t at = (slot + 1) % kSlots; slots[at].address != nullptr;
         at = (at + 1) % kSlots) {
        const std::size_t home = SlotOf(slots[at].address);
        if ((at - home) % kSlots >= (at - gap) % kSlots) {
            slots[gap] = slots[at];
            gap = at;
        }
    }
    slots[gap] = {};
}

bool Fails()
{
    if (!isFailing) {
        return false;
    }
    if (callsLeft > 0) {
        --callsLeft;
    }
    if (callsLeft > 0 || (failureMode == EMode::Once && hasFailed)) {
        return false;
    }
    if (!hasFailed) {
        hasFailed = true;
        isFailing = false;
        failedFrameCount = backtrace(failedFrames, kFrames);
        isFailing = true;
    }
    errno = ENOMEM;
    return true;
}

} // namespace

void Fail(std::uint64_t call, EMode mode)
{
    // The first backtrace of a program loads a library.
    failedFrameCount = backtrace(failedFrames, kFrames);
    callsLeft = call;
    failureMode = mode;
    hasFailed = false;
    isFailing = true;
}

bool Stop()
{
    isFailing = false;
    return hasFailed;
}

Pause::Pause() noexcept
    : m_wasFailing(isFailing)
    , m_wasNoting(isNoting)
{
    isFailing = false;
    isNoting = false;
}

Pause::~Pause()
{
    isFailing = m_wasFailing;
    isNoting = m_wasNoting;
}

void NoteBlocks()
{
    std::memset(slots, 0, sizeof slots);
    slotsInUse = 0;
    isNoting = true;
}

std::vector<Block> TakeBlocks()
{
    isNoting = false;
    std::vector<Block> blocks;
    for (const Block& block : slots) {
        if (block.address != nullptr) {
            blocks.push_back(block);
        }
    }
    slotsInUse = 0;
    return blocks;
}

void PrintFailedCall(int descriptor)
{
    backtrace_symbols_fd(failedFrames, failedFrameCount, descriptor);
}

bool WasFailedCallIn(const char* name)
{
    for (int i = 0; i < failedFrameCount; ++i) {
        Dl_info info = {};
        if (dladdr(failedFrames[i], &info) != 0 &&
            ((info.dli_sname != nullptr && std::strcmp(info.dli_sname, name) == 0) ||
             std::strstr(info.dli_fname, name) != nullptr)) {
            return true;
        }
    }
    return false;
}

} // namespace FailingMemory

using FailingMemory::Add;
using FailingMemory::Fails;
using FailingMemory::Remove;

// Qt and the C++ library must find them.
#pragma GCC visibility push(default)

extern "C" {

void* malloc(std::size_t size)
{
    void* const address = Fails() ? nullptr : __libc_malloc(size);
    Add(address, size);
    return address;
}

void* calloc(std::size_t nmemb, std::size_t size)
{
    void* const address = Fails() ? nullptr : __libc_calloc(nmemb, size);
    Add(address, nmemb * size);
    return address;
}

void* realloc(void* ptr, std::size_t size)
{
    if (Fails()) {
        return nullptr;
    }
    void* const moved = __libc_realloc(ptr, size);
    if (moved != nullptr || size == 0) {
        Remove(ptr);
    }
    Add(moved, size);
    return moved;
}

void* memalign(std::size_t alignment, std::size_t size)
{
    void* const address = Fails() ? nullptr : __libc_memalign(alignment, size);
    Add(address, size);
    return address;
}

void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return memalign(alignment, size);
}

int posix_memalign(void** memptr, std::size_t alignment, std::size_t size)
{
    void* const address = memalign(alignment, size);
    if (address == nullptr) {
        return ENOMEM;
    }
    *memptr = address;
    return 0;
}

void free(void* ptr)
{
    Remove(ptr);
    __libc_free(ptr);
}
}

#pragma GCC visibility pop
