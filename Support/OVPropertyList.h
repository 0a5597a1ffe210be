#pragma once

#include "Platform/PropertyList.h"

namespace orvane {

/// `boolValue`: of a number whether it is not 0, of a text what `boolValue` of the text says. No for the other kinds,
/// which have no such answer.
bool boolValue(const PropertyListValue& value);

} // namespace orvane
