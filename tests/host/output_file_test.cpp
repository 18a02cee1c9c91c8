#include "output_file.h"

#include "failure.h"
#include "temporary_file.h"

#include <gtest/gtest.h>

namespace sarvane::study {
namespace {

namespace fs = std::filesystem;

TEST(OutputFile, ReplacesAFileOnlyWhenItIsWhole) {
    const TemporaryFile file("old");
    for (const bool isWhole : {false, true}) {
        OutputFile output(file.Path(), {});
        output.Write(std::string(1 << 20, 'x'));
        EXPECT_EQ(file.Content(), "old");
        if (isWhole) output.Close();
    }
    EXPECT_EQ(file.Content(), std::string(1 << 20, 'x'));
    for (const fs::path& other : fs::directory_iterator(file.Path().parent_path()))
        EXPECT_FALSE(other != file.Path() && other.string().starts_with(file.Path().string())) << other;
}

TEST(OutputFile, IsNoneOfTheInputsByAnyName) {
    const TemporaryFile file("input"), other("");
    const fs::path hard = file.Path().string() + ".hard", soft = file.Path().string() + ".soft";
    fs::create_hard_link(file.Path(), hard);
    std::error_code unable;
    fs::create_symlink(file.Path(), soft, unable);
    for (const fs::path& path :
         {file.Path(), hard, unable ? hard : soft, file.Path().parent_path() / "." / file.Path()})
        EXPECT_THROW(OutputFile(path, {other.Path(), file.Path()}), Failure) << path;
    fs::remove(hard);
    fs::remove(soft);
    const fs::path fresh = file.Path().string() + ".new";
    EXPECT_THROW(OutputFile(fresh, {fresh.parent_path() / "." / fresh.filename()}), Failure) << "both to be made";
    EXPECT_EQ(file.Content(), "input");
    EXPECT_FALSE(fs::exists(fresh));
}

TEST(OutputFile, FailsWhereItCannotWrite) {
    EXPECT_THROW(OutputFile("no/such/folder/file", {}), Failure);
    EXPECT_THROW(OutputFile(fs::temp_directory_path(), {}), Failure);
    OutputFile nowhere(NO_DEVICE, {});
    nowhere.Write("x");
    nowhere.Close();
}

}  // namespace
}  // namespace sarvane::study
