// The chunks of a PNG file.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "tools/files.h"

namespace skylevel {

struct PngChunk {
    std::string_view type;  // four letters
    std::span<const unsigned char> data;
    std::span<const unsigned char> whole;  // with length, type and check sum
};

// The chunks of a file as far as its structure can be followed, up to and with IEND; everything lies in the file.
std::vector<PngChunk> findChunks(std::span<const unsigned char> file);

// Writes a chunk with its check sum.
void appendChunk(Bytes& file, std::string_view type, std::span<const unsigned char> data);

}  // namespace skylevel
