// Files written into a block of the host's memory.
#include <gtest/gtest.h>

#include <cstring>

#include "support/guarded_memory.h"
#include "support/made_pictures.h"
#include "support/media.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

constexpr std::size_t kHeader = 32;
const std::string kFilm = "fmt=avi,vcodec=mjpeg,pix_fmt=yuvj420p,size=64x48,acodec=pcm_s16le,ar=48000,ac=2,afmt=s16";

// A block that ends where nothing may be touched.
class Block {
  public:
    explicit Block(std::size_t size, const char* prefix = "mem:")
        : size_(size), memory_(kHeader + size), bytes_(memory_.at_end(kHeader + size)) {
        std::memset(bytes_, 0xA5, kHeader + size);
        std::memset(bytes_, 0, kHeader);
        memory_header(size, prefix).copy(name(), kHeader - 1);
    }

    char* name() const { return reinterpret_cast<char*>(bytes_); }
    std::string header() const { return {name(), 13}; }
    Bytes data(std::size_t count) const { return {bytes_ + kHeader, bytes_ + kHeader + count}; }
    Bytes all_data() const { return data(size_); }

    // What the header tells after the close.
    std::size_t told() const { return std::strtoull(name() + 4, nullptr, 16); }

  private:
    std::size_t size_;
    GuardedMemory memory_;
    uint8_t* bytes_;
};

void write_film(MediaHandle* handle, const PictureMaker& maker) {
    const SoundMaker sound({2, 48000, AV_SAMPLE_FMT_S16});
    for (int number = 0; number < 6; ++number) {
        EXPECT_EQ(qmio_write_frame(handle, maker.picture(number).data()), 0);
        const Bytes samples = sound.samples(number * 1920, 1920);
        EXPECT_GT(qmio_write_track(handle, 0, samples.data(), static_cast<int>(samples.size())), 0);
    }
}

class MemoryTarget : public testing::Test {
  protected:
    static int write(const Block& block, const std::string& options = kFilm) {
        const Media media(qmio_create_a(block.name(), options.c_str()));
        if (!media)
            return -1;
        write_film(media.get(), PictureMaker("AV_PIX_FMT_YUVJ420P", 64, 48));
        return 0;
    }

    Bytes file(const std::string& options = kFilm) const {
        const auto path = folder_ / "on_disk";
        {
            const Writer writer(path, options);
            write_film(writer.handle(), PictureMaker("AV_PIX_FMT_YUVJ420P", 64, 48));
        }
        return read_bytes(path);
    }

  private:
    TempDir folder_;
};

TEST_F(MemoryTarget, HoldsWhatTheFileOnDiskHolds) {
    for (const char* container : {"avi", "mov", "matroska", "nut", "mpegts"}) {
        std::string options = kFilm;
        options.replace(0, 7, std::string("fmt=") + container + ",fflags=+bitexact");
        if (std::string(container) == "mpegts")
            options = "fmt=mpegts,vcodec=mpeg2video,pix_fmt=yuv420p,size=64x48,acodec=mp2,ar=48000,ac=2,afmt=s16";
        const Bytes expected = file(options);
        const Block block(1 << 20);
        ASSERT_EQ(write(block, options), 0) << container;
        EXPECT_EQ(block.told(), expected.size()) << container;
        EXPECT_TRUE(block.data(expected.size()) == expected) << container;
        // Behind it the block is as it was.
        EXPECT_EQ(block.all_data().back(), 0xA5);
    }
}

TEST_F(MemoryTarget, TellsItsSizeInTheHeaderAfterTheClose) {
    const Block block(1 << 20);
    const std::string before(block.name());
    {
        const Media media(qmio_create_a(block.name(), kFilm.c_str()));
        ASSERT_TRUE(media);
        write_film(media.get(), PictureMaker("AV_PIX_FMT_YUVJ420P", 64, 48));
        EXPECT_EQ(std::string(block.name()), before);
    }
    char expected[16];
    std::snprintf(expected, sizeof expected, "mem:%08X.", static_cast<unsigned>(file().size()));
    EXPECT_EQ(block.header(), expected);
}

TEST_F(MemoryTarget, LeavesTheRestOfTheHeader) {
    const Block block(1 << 20);
    std::memcpy(block.name() + 13, "my own mark", 12);
    ASSERT_EQ(write(block), 0);
    EXPECT_STREQ(block.name() + 13, "my own mark");
}

TEST_F(MemoryTarget, OfFourThousandBytesIsToldWithEightDigits) {
    const Block block(1 << 20);
    {
        const Media media(qmio_create_a(block.name(), "fmt=u8,acodec=pcm_u8,ar=48000,ac=1,afmt=u8"));
        ASSERT_TRUE(media);
        const Bytes sound(4096, 0x42);
        EXPECT_GT(qmio_write_audio(media.get(), sound.data(), 4096), 0);
    }
    EXPECT_EQ(block.header(), "mem:00001000.");
    EXPECT_EQ(block.data(4096), Bytes(4096, 0x42));
}

TEST_F(MemoryTarget, ThatIsTooSmallKeepsTheBeginningAndTouchesNothingElse) {
    const Bytes whole = file();
    for (const std::size_t size : {std::size_t{1}, std::size_t{100}, std::size_t{5000}, whole.size() - 1}) {
        const Block block(size);
        ASSERT_EQ(write(block), 0) << size;
        EXPECT_EQ(block.told(), size);
    }
    // A container that never goes back to what it wrote.
    const std::string options =
        "fmt=mpegts,vcodec=mpeg2video,pix_fmt=yuv420p,size=64x48,acodec=mp2,ar=48000,ac=2,"
        "afmt=s16";
    const Bytes stream = file(options);
    const Block block(5000);
    ASSERT_EQ(write(block, options), 0);
    EXPECT_TRUE(block.all_data() == Bytes(stream.begin(), stream.begin() + 5000));
}

TEST_F(MemoryTarget, WithoutRoomIsEmpty) {
    const Block block(0);
    ASSERT_EQ(write(block), 0);
    EXPECT_EQ(block.header(), "mem:00000000.");
}

TEST_F(MemoryTarget, OfExactlyTheRightSizeHoldsAll) {
    const Bytes whole = file();
    const Block block(whole.size());
    ASSERT_EQ(write(block), 0);
    EXPECT_EQ(block.told(), whole.size());
    EXPECT_TRUE(block.all_data() == whole);
}

TEST_F(MemoryTarget, MayBeNamedInAnyCase) {
    const Block block(1 << 20, "MeM:");
    ASSERT_EQ(write(block), 0);
    EXPECT_EQ(block.header().substr(0, 4), "MeM:");
    EXPECT_EQ(block.told(), file().size());
}

// The size that was told ends with a full stop, not with a NUL: the block is a source as it stands.
TEST_F(MemoryTarget, CanBeReadBack) {
    const Block block(1 << 20);
    const PictureMaker maker("AV_PIX_FMT_RGB24", 64, 48);
    {
        const Media media(qmio_create_a(block.name(), "fmt=image2pipe,vcodec=png,pix_fmt=rgb24,size=64x48"));
        ASSERT_TRUE(media);
        EXPECT_EQ(qmio_write_frame(media.get(), maker.picture(7).data()), 0);
    }
    const Media media(qmio_open_a(block.name()));
    ASSERT_TRUE(media);
    qmio_set_dst_fmt(media.get(), maker.format());
    Bytes pixels(maker.size());
    imio_picture picture = record_of(pixels);
    picture.width = maker.width();
    picture.height = maker.height();
    EXPECT_EQ(imio_read_frame(media.get(), &picture), QMIO_PICTURE_PROGRESSIVE);
    EXPECT_TRUE(pixels == maker.picture(7));
}

TEST_F(MemoryTarget, WithoutASizeIsRefusedAndLeftAlone) {
    for (const char* header : {"mem:", "mem:xyz", "mem:-5", "mem:ffffffffffffffff"}) {
        const Block block(1000);
        std::memset(block.name(), 0, kHeader);
        std::memcpy(block.name(), header, std::strlen(header));
        EXPECT_EQ(qmio_create_a(block.name(), kFilm.c_str()), nullptr) << header;
        EXPECT_STREQ(block.name(), header);
        EXPECT_EQ(block.all_data(), Bytes(1000, 0xA5));
    }
}

TEST_F(MemoryTarget, IsRefusedByTheWideForms) {
    EXPECT_EQ(qmio_create_w(L"mem:1000", L"fmt=mov,vcodec=mjpeg,pix_fmt=yuvj420p,size=64x48"), nullptr);
    EXPECT_EQ(qmio_create_ex_w(L"MEM:1000", L"fmt=mov,vcodec=mjpeg,pix_fmt=yuvj420p,size=64x48", 0), nullptr);
}

TEST_F(MemoryTarget, WhoseCreationFailsIsClosedLikeAnEmptyOne) {
    const Block unknown(1000);
    EXPECT_EQ(qmio_create_a(unknown.name(), "fmt=nonesuch"), nullptr);
    EXPECT_EQ(unknown.header().substr(0, 7), "mem:3e8");
    // The container refuses its header only after the block is its output.
    const Block refused(1000);
    EXPECT_EQ(qmio_create_a(refused.name(), "fmt=webm,vcodec=mjpeg,pix_fmt=yuvj420p,size=64x48"), nullptr);
    EXPECT_EQ(refused.header(), "mem:00000000.");
}

TEST_F(MemoryTarget, IsTheHostsAgainAfterCancelAndClose) {
    const Block block(1 << 20);
    Media media(qmio_create_a(block.name(), kFilm.c_str()));
    ASSERT_TRUE(media);
    write_film(media.get(), PictureMaker("AV_PIX_FMT_YUVJ420P", 64, 48));
    EXPECT_EQ(qmio_cancel(media.get()), 0);
    media.reset();
    EXPECT_EQ(block.header().substr(0, 4), "mem:");
    EXPECT_LE(block.told(), file().size());
}

TEST_F(MemoryTarget, KnowsNoBars) {
    const Block block(1 << 20);
    std::strcat(block.name(), "|rest");
    ASSERT_EQ(write(block), 0);
    EXPECT_EQ(block.told(), file().size());
}

}  // namespace
}  // namespace qmio::test
