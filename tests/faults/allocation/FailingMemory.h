// Replaces the C library's allocation functions in a program: it can make calls fail, and find the
// blocks that are not freed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// The memory of the whole program, Qt and the C++ library included: every malloc, calloc, realloc,
/// aligned allocation and operator new comes here. For programs of one thread.
namespace FailingMemory {

enum class EMode {
    Once,  ///< one call fails
    OnFrom ///< this call and all later ones fail
};

/// The call with that number fails; counting starts at 1 with the next call.
void Fail(std::uint64_t call, EMode mode);

/// All calls succeed again. @return whether one has failed since Fail
bool Stop();

/// While one lives, no call fails, none is counted and no block is recorded.
class Pause
{
public:
    Pause() noexcept;
    ~Pause();
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;

private:
    bool m_wasFailing;
    bool m_wasNoting;
};

struct Block
{
    void* address = nullptr;
    std::size_t size = 0;
};

/// Starts to record blocks; earlier records are dropped.
void NoteBlocks();

/// Stops recording. @return the blocks that were allocated since and not freed
[[nodiscard]] std::vector<Block> TakeBlocks();

/// Writes the stack of the first call that failed since Fail, one function per line, without
/// allocating.
void PrintFailedCall(int descriptor);

/// Whether that call was made inside a function or library. Does not allocate.
/// @param name the function's name as libraries export it, or a part of the library's path
[[nodiscard]] bool WasFailedCallIn(const char* name);

} // namespace FailingMemory
