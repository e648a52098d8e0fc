#include "system/MountedVolume.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(MountedVolume, IsNotExternalWhereItIsInternalAndStays) {
    EXPECT_FALSE((MountedVolume{.isInternal = true}.isExternal()));
}

TEST(MountedVolume, IsExternalWhereItIsKnownNotToBeInternal) {
    EXPECT_TRUE((MountedVolume{.isInternal = false}.isExternal()));
}

TEST(MountedVolume, IsExternalWhereItCanBeTakenOutThoughItsDriveIsInternal) {
    EXPECT_TRUE((MountedVolume{.isInternal = true, .isRemovable = true}.isExternal()));
}

TEST(MountedVolume, IsExternalWhereItCanBeEjectedAndNothingElseIsKnown) {
    EXPECT_TRUE((MountedVolume{.isEjectable = true}.isExternal()));
}

TEST(MountedVolume, IsNotExternalWhereNothingIsKnown) {
    EXPECT_FALSE(MountedVolume().isExternal());
}

} // namespace
} // namespace velmoran
