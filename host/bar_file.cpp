#include "bar_file.h"

#include "failure.h"
#include "path.h"
#include "progress.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace sarvane::study {
namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

BarFile::BarFile(const std::filesystem::path& path) {
    RowReader reader(TextOf(path));
    const std::string& name = reader.Header().name;
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(TextOf(path).c_str(), "rb"));
    if (!file) Fail("{}: {}", name, std::strerror(errno));
    std::error_code unknown;
    const auto size = std::filesystem::file_size(path, unknown);
    Progress progress("reading " + name, unknown ? 0.0 : static_cast<double>(size));

    const auto takeRows = [&] {
        while (reader.Next()) {
            if (dateEnds.empty()) values.resize(reader.Row().values.size());
            Append(reader.Row());
        }
    };
    std::vector<char> chunk(1 << 16);
    double done = 0.0;
    while (const std::size_t length = std::fread(chunk.data(), 1, chunk.size(), file.get())) {
        reader.Add({chunk.data(), length});
        takeRows();
        progress.Update(done += static_cast<double>(length));
    }
    if (std::ferror(file.get())) Fail("{}: {}", name, std::strerror(errno));
    reader.End();
    takeRows();
    if (!reader.HasHeader()) Fail("{}: the file is empty", name);
    header = reader.Header();
    values.resize(header.titles.size());
}

BarFile::BarFile(BarHeader first) : header(std::move(first)), values(header.titles.size()) {}

void BarFile::Append(const BarRow& row) {
    dates += row.date;
    dateEnds.push_back(dates.size());
    for (std::size_t column = 0; column < values.size(); ++column) values[column].push_back(row.values[column]);
}

void BarFile::Replace(std::size_t bar, const std::vector<double>& row) {
    for (std::size_t column = 0; column < values.size(); ++column) values[column][bar] = row[column];
}

}  // namespace sarvane::study
