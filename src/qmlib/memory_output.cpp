#include "qmlib/memory_output.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "ffmpeg/io_types.h"
#include "qmlib/io_buffer.h"

namespace qmio::qmlib {

namespace {

MemoryOutput& output_of(void* opaque) {
    return *static_cast<MemoryOutput*>(opaque);
}

int read_callback(void* opaque, uint8_t* buffer, int size) {
    return output_of(opaque).read(buffer, size);
}

int write_callback(void* opaque, ffmpeg::WrittenByte* buffer, int size) {
    return output_of(opaque).write(buffer, size);
}

int64_t seek_callback(void* opaque, int64_t offset, int whence) {
    return output_of(opaque).seek(offset, whence);
}

}  // namespace

// Seeking is not limited to the block, so the position may lie anywhere.
int64_t MemoryOutput::room_for(int size) const {
    if (position_ < 0 || position_ >= size_)
        return 0;
    return std::clamp<int64_t>(size_ - position_, 0, std::max(size, 0));
}

int MemoryOutput::read(uint8_t* buffer, int size) {
    const int64_t count = room_for(size);
    if (count < 1)
        return AVERROR_EOF;
    std::memcpy(buffer, data_ + position_, static_cast<std::size_t>(count));
    position_ += count;
    return static_cast<int>(count);
}

int MemoryOutput::write(const uint8_t* buffer, int size) {
    const int64_t count = room_for(size);
    if (count < 1)
        return 0;  // no error: writing goes on, and a block that is too small holds the beginning
    std::memcpy(data_ + position_, buffer, static_cast<std::size_t>(count));
    position_ += count;
    high_water_ = std::max(high_water_, position_);
    return static_cast<int>(count);
}

int64_t MemoryOutput::seek(int64_t offset, int whence) {
    switch (whence & ~AVSEEK_FORCE) {
        case SEEK_SET:
            return position_ = offset;
        case SEEK_CUR:
            return position_ += offset;
        case SEEK_END:
            return position_ = size_ + offset;
        case AVSEEK_SIZE:
            return size_;
        default:
            return -1;
    }
}

ffmpeg::CustomIoPtr make_custom_io(MemoryOutput& output) {
    ffmpeg::BlockPtr buffer = make_io_buffer();
    if (buffer == nullptr)
        return nullptr;
    ffmpeg::CustomIoPtr io(
        avio_alloc_context(buffer.get(), kIoBufferSize, 1, &output, read_callback, write_callback, seek_callback));
    if (io != nullptr)
        static_cast<void>(buffer.release());
    return io;
}

}  // namespace qmio::qmlib
