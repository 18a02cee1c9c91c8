// Writes what the module's resources say of each class, as text files into the given folder: NAME.rgs, scripts.rc with
// all of these by their ids, and coclasses.idl for the type library.

#include "server/registration.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <vector>

namespace sarvane {
namespace {

std::string Ascii(std::u16string_view text) {
    std::string narrow;
    for (const char16_t c : text) narrow += static_cast<char>(c);
    return narrow;
}

void WriteAll(const std::filesystem::path& folder) {
    std::vector<ClassEntry> classes(ClassTable().begin(), ClassTable().end());
    std::ranges::sort(classes, {}, &ClassEntry::scriptId);  // the order of the type library, too
    std::ofstream resources(folder / "scripts.rc"), library(folder / "coclasses.idl");
    for (const ClassEntry& entry : classes) {
        const std::string script = std::string(entry.name) + ".rgs";
        std::ofstream(folder / script) << Ascii(RegistrationScript(entry));
        resources << entry.scriptId << " REGISTRY \"" << script << "\"\n";
        library << "    [uuid(" << Ascii(BracedText(entry.id)).substr(1, 36) << "), helpstring(\"" << entry.name
                << " Class\")]\n    coclass " << entry.name << " {\n        [default] interface IZelmorOp;\n"
                << (entry.takesBars ? "        interface IZelmorOp2;\n" : "") << "    };\n";
    }
    if (!resources.flush() || !library.flush()) throw std::ios_base::failure("cannot write to " + folder.string());
}

}  // namespace
}  // namespace sarvane

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    try {
        sarvane::WriteAll(argv[1]);
    } catch (const std::exception& error) {
        std::cerr << error.what() << '\n';
        return 1;
    }
    return 0;
}
