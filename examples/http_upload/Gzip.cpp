// SPDX-FileCopyrightText: 2026 The Korvel authors
// SPDX-License-Identifier: MIT

#include "Gzip.h"

#include <zlib.h>

#include <array>
#include <stdexcept>

namespace HttpUpload {
namespace {

using Piece = std::array<unsigned char, 0x10000>;

class Compressor {
public:
    Compressor() {
        constexpr int WINDOW_OF_32_KIB = 15;
        constexpr int GZIP = 16;
        constexpr int MEMORY_LEVEL = 8;
        if (deflateInit2(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, WINDOW_OF_32_KIB + GZIP,
                         MEMORY_LEVEL, Z_DEFAULT_STRATEGY) != Z_OK) {
            throw std::runtime_error("there is no memory to compress the file");
        }
    }
    Compressor(const Compressor&) = delete;
    Compressor& operator=(const Compressor&) = delete;
    ~Compressor() { deflateEnd(&stream_); }

    void append(Piece& input, std::size_t size, std::FILE* body, int flush) {
        Piece output;
        stream_.next_in = input.data();
        stream_.avail_in = static_cast<uInt>(size);
        do {
            stream_.next_out = output.data();
            stream_.avail_out = static_cast<uInt>(output.size());
            deflate(&stream_, flush);
            const std::size_t ready = output.size() - stream_.avail_out;
            if (std::fwrite(output.data(), 1, ready, body) != ready) {
                throw std::runtime_error("the compressed file cannot be written");
            }
        } while (stream_.avail_out == 0);
    }

private:
    z_stream stream_ = {};
};

}  // namespace

void gzip(std::FILE* file, std::FILE* body) {
    Compressor compressor;
    Piece input;
    bool isEnd = false;
    while (!isEnd) {
        const std::size_t size = std::fread(input.data(), 1, input.size(), file);
        if (std::ferror(file) != 0) throw std::runtime_error("the file cannot be read");
        isEnd = std::feof(file) != 0;
        compressor.append(input, size, body, isEnd ? Z_FINISH : Z_NO_FLUSH);
    }
}

}  // namespace HttpUpload
