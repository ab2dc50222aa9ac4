// A file that calls packets key packets which refer to pictures before them.
#include <gtest/gtest.h>

#include "support/made_pictures.h"
#include "support/media.h"
#include "support/temp_dir.h"

namespace qmio::test {
namespace {

constexpr int kPictures = 120;

TEST(FalseKeyPackets, DoNotChangeThePicturesThatAreSought) {
    const TempDir folder;
    const std::filesystem::path path = folder / "film.mp4";
    Writer writer(path, "fmt=mp4,vcodec=mpeg4,pix_fmt=yuv420p,size=176x144,r=25,g=40,bf=0,b:v=300k,threads:v=1");
    ASSERT_TRUE(writer.is_open());
    write_pictures(writer, PictureMaker("AV_PIX_FMT_YUV420P", 176, 144), kPictures);
    writer.close();
    // Without its table of key packets, every packet is one.
    Bytes bytes = read_bytes(path);
    ASSERT_EQ(replace_bytes(bytes, "stss", "free"), 1);
    write_bytes(path, bytes);
    Player player(path, L"threads=1");
    const std::vector<Picture> pictures = player.read_rest(kPictures);
    ASSERT_EQ(pictures.size(), std::size_t{kPictures});
    for (int frame = kPictures - 1; frame > 0; frame -= 7)
        EXPECT_EQ(player.read_at(frame).hash, pictures[static_cast<std::size_t>(frame)].hash) << frame;
}

}  // namespace
}  // namespace qmio::test
