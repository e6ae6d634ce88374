#include <gpuruntime/version.hpp>

#include <gtest/gtest.h>

#include <regex>

namespace {

TEST(Version, HasFourParts) {
    EXPECT_TRUE(std::regex_match(libkvgpuruntime_version, std::regex("[0-9]+\\.[0-9]+\\.[0-9]+\\.[0-9]+")));
}

TEST(Version, TellsTheBuildDate) {
    EXPECT_TRUE(
        std::regex_match(libkvgpuruntime_build_date, std::regex("[A-Z][a-z]+ +[0-9]{1,2},? [0-9]{4}")));
}

TEST(Version, TellsThePathInTheInstallation) {
    EXPECT_STREQ("bin/nxlin64/libkvgpuruntime.so", libkvgpuruntime_relative_path);
}

}  // namespace
