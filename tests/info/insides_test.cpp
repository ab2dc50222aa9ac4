// What of the catalogue does not show at the interface.
#include <gtest/gtest.h>

#include "info/pixel_descriptions.h"

namespace qmio::info {
namespace {

TEST(PixelDescriptionTable, Has162Rows) {
    EXPECT_EQ(pixel_description_count(), 162);
}

}  // namespace
}  // namespace qmio::info
