#include "growing_file.h"

#include "failure.h"
#include "temporary_file.h"

#include <chrono>
#include <gtest/gtest.h>
#include <thread>

namespace sarvane::study {
namespace {

namespace fs = std::filesystem;
using State = GrowingFile::State;

void Write(const fs::path& file, const std::string& text, std::ios::openmode mode = std::ios::trunc) {
    std::ofstream(file, std::ios::binary | std::ios::out | mode) << text;
}

// All that comes up to where the file is caught up with.
std::string Content(GrowingFile& file) {
    std::string text;
    for (auto piece = file.Read(); piece.state != State::CaughtUp; piece = file.Read())
        text += piece.state == State::StartsOver ? "(" + file.Reason() + ")" : std::string(piece.text);
    return text;
}

TEST(GrowingFile, ReadsOnBehindTheEndThatItSaw) {
    const TemporaryFile file("one");
    GrowingFile growing(file.Path().string(), true);
    EXPECT_EQ(Content(growing), "one");
    std::thread writer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        Write(file.Path(), "two", std::ios::app);
    });
    EXPECT_EQ(Content(growing), "two");
    writer.join();
}

TEST(GrowingFile, StartsOverWhenWhatItReadIsGone) {
    const TemporaryFile file("one two"), other("");
    std::vector<std::string> told;
    GrowingFile growing(file.Path().string(), true, [&](const std::string& message) { told.push_back(message); });
    EXPECT_EQ(Content(growing), "one two");
    fs::resize_file(file.Path(), 3);
    EXPECT_EQ(Content(growing), "(has become shorter)one");
    Write(file.Path(), "two");
    EXPECT_EQ(Content(growing), "(was rewritten)two");
    Write(file.Path(), "one two three");
    EXPECT_EQ(Content(growing), "(was rewritten)one two three");
    Write(file.Path(), "one TWO three", std::ios::in);
    Write(file.Path(), " four", std::ios::app);
    EXPECT_EQ(Content(growing), "(was rewritten)one TWO three four");
    EXPECT_EQ(told.size(), 0u);
}

TEST(GrowingFile, TakesEndsThatAreNotFollowed) {
    const TemporaryFile file("one");
    GrowingFile growing(file.Path().string(), false);
    EXPECT_EQ(growing.Read().text, "one");
    EXPECT_EQ(growing.Read().state, State::End);
    EXPECT_THROW(GrowingFile("no such file", true), Failure);
}

}  // namespace
}  // namespace sarvane::study
