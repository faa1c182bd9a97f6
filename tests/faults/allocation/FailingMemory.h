// Replaces the C library's allocation functions in a program: calls can be made to fail, and blocks
// that stay can be found.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// The memory of the whole program, Qt and the C++ library included: every malloc, calloc, realloc,
/// aligned allocation and operator new comes here. For one thread.
namespace FailingMemory {

enum class EMode {
    Once,  ///< one call fails
    OnFrom ///< this call and all behind it fail
};

/// From now on the call with that number, counted from 1, fails.
void Fail(std::uint64_t call, EMode mode);

/// All calls are answered again. @return whether one has failed since Fail
bool Stop();

/// While one lives no call fails, none is counted and no block is noted.
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

/// Begins to note blocks; those noted before are forgotten.
void NoteBlocks();

/// Ends it. @return the blocks that were allocated since and not freed
[[nodiscard]] std::vector<Block> TakeBlocks();

/// Writes where the first failed call since Fail was made from, one function a line, without
/// allocating.
void PrintFailedCall(int descriptor);

/// Whether that call was made inside of a function or library. Does not allocate.
/// @param name the function's name as libraries export it, or a part of the library's path
[[nodiscard]] bool WasFailedCallIn(const char* name);

} // namespace FailingMemory
