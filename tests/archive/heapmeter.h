#pragma once

#include <cstddef>

/// How much memory this process has from malloc(), and has had at most: a program that links heapmeter.cpp
/// counts every allocation, those inside libraries too.
namespace heapmeter {

/// Whether anything is counted; sanitizers need malloc() for themselves.
[[nodiscard]] bool isCounting();
/// Bytes allocated now, with what the allocator adds.
[[nodiscard]] std::size_t inUse();
/// The most since the last restart().
[[nodiscard]] std::size_t peak();
void restart();

} // namespace heapmeter
