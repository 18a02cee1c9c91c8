#pragma once

// What the tests read in docs/, most of it in docs/operators.md.

#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace sarvane::study {

inline std::vector<std::smatch> Matches(const std::string& text, const std::regex& pattern) {
    return {std::sregex_iterator(text.begin(), text.end(), pattern), std::sregex_iterator()};
}

inline std::string Document(const std::string& name) {
    std::ostringstream content;
    content << std::ifstream(PROJECT_FOLDER "/docs/" + name).rdbuf();
    return content.str();
}

inline const std::string& Reference() {
    static const std::string text = Document("operators.md");
    return text;
}

// The expressions behind the pictures, which show every operator.
inline std::vector<std::string> DrawnExpressions() {
    std::vector<std::string> expressions;
    for (const auto& picture : Matches(Reference(), std::regex("\n!\\[([^\\]]*)\\]\\(pictures/"))) {
        std::istringstream drawn(picture[1]);
        for (std::string expression; std::getline(drawn >> std::ws, expression, ';');)
            expressions.push_back(expression);
    }
    return expressions;
}

}  // namespace sarvane::study
