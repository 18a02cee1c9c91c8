#include "growing_file.h"

#include "failure.h"
#include "temporary_file.h"

#include <chrono>
#include <gtest/gtest.h>
#include <thread>

namespace sarvane::study {
namespace {

TEST(GrowingFile, ReadsOnBehindTheEndThatItSaw) {
    const TemporaryFile file("one");
    GrowingFile growing(file.Path().string(), true);
    EXPECT_EQ(growing.Read(), "one");
    std::thread writer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        std::ofstream(file.Path(), std::ios::app | std::ios::binary) << "two";
    });
    EXPECT_EQ(growing.Read(), "two");
    writer.join();
    std::filesystem::resize_file(file.Path(), 2);
    EXPECT_THROW(growing.Read(), Failure);
}

}  // namespace
}  // namespace sarvane::study
