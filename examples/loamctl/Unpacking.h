// Unpacks streams that nobody vouches for: in small chunks, with an eye on their end and their
// size.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "loamctl/CZstdFrames.h"
#include "loamctl/Compressing.h"

class CFile;

/// Hands what comes out to `write`, and tells `progress` of the bytes read. Answers what is wrong
/// with the stream, in words; nothing if it was whole. `limit` is in bytes, -1 for none: what goes
/// beyond is a problem, found before much of it is in memory. Several streams in a row are one.
std::string Unpack(CFile& file,
                   CompressionOptions const& options,
                   long long limit,
                   std::function<void(std::string_view)> const& write,
                   std::function<void(long long)> const& progress);
