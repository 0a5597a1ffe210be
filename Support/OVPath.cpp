#include "Support/OVPath.h"

namespace orvane {

std::string lastPathComponent(std::string_view path) {
    const std::size_t end = path.find_last_not_of('/');
    if (end == std::string_view::npos) {
        return path.empty() ? std::string() : std::string("/");
    }
    path = path.substr(0, end + 1);
    const std::size_t slash = path.rfind('/');
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

} // namespace orvane
