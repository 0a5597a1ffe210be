// Path functions against their components, and replacing against a plain search.

#include "Support/OVPath.h"
#include "Support/OVText.h"
#include "Tests/Fuzz/Fuzz.h"

#include <vector>

using namespace orvane;

namespace {

std::vector<std::string> components(std::string_view path) {
    std::vector<std::string> parts;
    std::string part;
    for (const char c : std::string(path) + "/") {
        if (c != '/') {
            part += c;
        } else if (!part.empty()) {
            parts.push_back(part);
            part.clear();
        }
    }
    return parts;
}

std::string joined(const std::vector<std::string>& parts, bool isAbsolute) {
    std::string path = isAbsolute ? "/" : "";
    for (std::size_t index = 0; index < parts.size(); ++index) {
        path += (index > 0 ? "/" : "") + parts[index];
    }
    return path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const std::string path = input.ConsumeRandomLengthString(64);
    const std::string component = input.ConsumeRandomLengthString(64);
    const std::string text = input.ConsumeRemainingBytesAsString();

    const auto parts = components(path);
    FUZZ_CHECK(lastPathComponent(path) == (!parts.empty() ? parts.back() : path.empty() ? "" : "/"));

    auto both = parts;
    for (const std::string& part : components(component)) {
        both.push_back(part);
    }
    const bool isAbsolute = path.starts_with("/") || (path.empty() && component.starts_with("/"));
    FUZZ_CHECK(stringByAppendingPathComponent(path, component) == joined(both, isAbsolute));

    FUZZ_CHECK(path.starts_with("~") || stringByExpandingTildeInPath(path) == path);

    std::string replaced;
    for (std::size_t at = 0; at < text.size();) {
        if (!path.empty() && std::string_view(text).substr(at).starts_with(path)) {
            replaced += component;
            at += path.size();
        } else {
            replaced += text[at++];
        }
    }
    FUZZ_CHECK(stringByReplacing(path, component, text) == replaced);
    return 0;
}
