// png: a small PNG writer (see png.h).
#include "png.h"

#include <zlib.h>

#include <cstdio>
#include <vector>

//----------------------------------------------------------------------------------
// Constants
//----------------------------------------------------------------------------------
constexpr uint8_t PNG_SIGNATURE[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
constexpr int PNG_MAX_SIDE = 1 << 15;  // far beyond any screen, keeps the sizes in int range
constexpr int PNG_ZLIB_LEVEL = 9;

//----------------------------------------------------------------------------------
// Private helpers
//----------------------------------------------------------------------------------
static void put_u32(std::vector<uint8_t> &out, uint32_t v)
{
    out.push_back(static_cast<uint8_t>(v >> 24));
    out.push_back(static_cast<uint8_t>(v >> 16));
    out.push_back(static_cast<uint8_t>(v >> 8));
    out.push_back(static_cast<uint8_t>(v));
}

// Append one chunk: length, type, data, CRC over type and data
static void put_chunk(std::vector<uint8_t> &out, const char type[4], const std::vector<uint8_t> &data)
{
    put_u32(out, static_cast<uint32_t>(data.size()));
    size_t start = out.size();
    out.insert(out.end(), type, type + 4);
    out.insert(out.end(), data.begin(), data.end());
    uLong crc = crc32(0L, out.data() + start, static_cast<uInt>(out.size() - start));
    put_u32(out, static_cast<uint32_t>(crc));
}

//----------------------------------------------------------------------------------
// Public functions
//----------------------------------------------------------------------------------
int png_write(const char *path, int w, int h, int channels, const uint8_t *pixels)
{
    if (!path || !pixels || w < 1 || h < 1 || w > PNG_MAX_SIDE || h > PNG_MAX_SIDE ||
        (channels != 3 && channels != 4))
        return -1;

    // Each row starts with filter type 0 (none).
    size_t row = static_cast<size_t>(w) * channels;
    std::vector<uint8_t> raw;
    raw.reserve((row + 1) * h);
    for (int y = 0; y < h; y++) {
        raw.push_back(0);
        raw.insert(raw.end(), pixels + row * y, pixels + row * (y + 1));
    }
    uLongf packed_size = compressBound(static_cast<uLong>(raw.size()));
    std::vector<uint8_t> packed(packed_size);
    if (compress2(packed.data(), &packed_size, raw.data(), static_cast<uLong>(raw.size()), PNG_ZLIB_LEVEL) != Z_OK)
        return -1;
    packed.resize(packed_size);

    std::vector<uint8_t> header;
    put_u32(header, static_cast<uint32_t>(w));
    put_u32(header, static_cast<uint32_t>(h));
    header.push_back(8);                         // bit depth
    header.push_back(channels == 4 ? 6 : 2);     // colour type: RGBA or RGB
    header.push_back(0);                         // compression, filter, interlace
    header.push_back(0);
    header.push_back(0);

    std::vector<uint8_t> file(PNG_SIGNATURE, PNG_SIGNATURE + 8);
    put_chunk(file, "IHDR", header);
    put_chunk(file, "IDAT", packed);
    put_chunk(file, "IEND", {});

    FILE *f = std::fopen(path, "wb");
    if (!f)
        return -1;
    bool ok = std::fwrite(file.data(), 1, file.size(), f) == file.size();
    ok = (std::fclose(f) == 0) && ok;
    return ok ? 1 : -1;
}
