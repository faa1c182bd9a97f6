// Blocks of 32 and of 64 bytes for the instruction set that the compiler is told to use.
//
// All headers of kernels work this way: each kernel source is compiled for one instruction set and
// gets its own copy, in an unnamed namespace, so that no function that is built for one set is ever
// linked into another. For the same reason they use nothing of the standard library but its integer
// types.
//
//   struct Block64: Load(const char*); Equal(char), Digits(), Unprinted() and HighBits()
//       -> 64-bit mask; unprinted is all below a blank and above 0x7F
//   struct Block32: Load(const char*), Store(char*), Equal(char) and HighBits() -> 32-bit mask
#pragma once

#if defined(__AVX512BW__)
#include "kernels/BlocksAvx512.h"
#elif defined(__AVX2__)
#include "kernels/BlocksAvx2.h"
#elif defined(__SSE2__)
#include "kernels/BlocksSse2.h"
#else
#include "kernels/BlocksPlain.h"
#endif
