#include "tools/png_chunks.h"

#include <zlib.h>

#include <cstdint>

namespace skylevel {
namespace {

constexpr std::size_t signatureBytes = 8;
constexpr std::size_t fieldBytes = 4;  // of length, type and check sum each

std::uint32_t readNumber(std::span<const unsigned char> bytes) {
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 | bytes[3];
}

void appendNumber(Bytes& file, std::uint32_t number) {
    for (const int shift : {24, 16, 8, 0}) file.push_back(static_cast<unsigned char>(number >> shift));
}

}  // namespace

std::vector<PngChunk> findChunks(std::span<const unsigned char> file) {
    std::vector<PngChunk> chunks;
    if (file.size() < signatureBytes) return chunks;
    std::span<const unsigned char> rest = file.subspan(signatureBytes);
    while (rest.size() >= 3 * fieldBytes) {
        const std::size_t count = readNumber(rest);
        if (count > rest.size() - 3 * fieldBytes) break;
        PngChunk chunk;
        chunk.type = {reinterpret_cast<const char*>(rest.data() + fieldBytes), fieldBytes};
        chunk.data = rest.subspan(2 * fieldBytes, count);
        chunk.whole = rest.first(count + 3 * fieldBytes);
        chunks.push_back(chunk);
        rest = rest.subspan(chunk.whole.size());
        if (chunk.type == "IEND") break;
    }
    return chunks;
}

void appendChunk(Bytes& file, std::string_view type, std::span<const unsigned char> data) {
    appendNumber(file, static_cast<std::uint32_t>(data.size()));
    const std::size_t checked = file.size();
    file.insert(file.end(), type.begin(), type.end());
    file.insert(file.end(), data.begin(), data.end());
    const uLong sum = crc32(0, &file[checked], static_cast<uInt>(file.size() - checked));
    appendNumber(file, static_cast<std::uint32_t>(sum));
}

}  // namespace skylevel
