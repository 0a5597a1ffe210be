#pragma once

#include <string>
#include <string_view>

namespace orvane {

/// `lastPathComponent`: what stands behind the last slash, trailing slashes not counted; "/" for a path of
/// slashes alone, "" for "".
std::string lastPathComponent(std::string_view path);

} // namespace orvane
