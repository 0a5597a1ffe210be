// The texts of a property list against libplist's reading: what is taken for a list has the texts that it has there.

#include "Backends/Posix/PropertyListStrings.h"
#include "Tests/Fuzz/Fuzz.h"

#include <memory>
#include <plist/plist.h>

using namespace orvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzz::bytes(data, size);
    const auto ours = stringsInPropertyList(text);
    if (!ours) {
        return 0;
    }
    for (const auto& [key, value] : *ours) {
        FUZZ_CHECK(!fuzz::isText(text) || (fuzz::isText(key) && fuzz::isText(value)));
    }
    plist_t root = nullptr;
    plist_from_xml(text.data(), static_cast<std::uint32_t>(text.size()), &root);
    if (root == nullptr) { // it is stricter in places, and quieter about none
        return 0;
    }
    const std::unique_ptr<void, void (*)(void*)> owner(root, plist_free);
    if (plist_get_node_type(root) != PLIST_DICT) { // where it stumbles it hands out some inner value
        return 0;
    }
    for (const auto& [key, value] : *ours) {
        if (key.find('\0') != std::string::npos || value.find('\0') != std::string::npos) {
            continue; // C texts end there
        }
        const plist_t node = plist_dict_get_item(root, key.c_str());
        if (node == nullptr || plist_get_node_type(node) != PLIST_STRING) {
            continue; // a key that comes twice, or is spelled by an entity that only one of the two knows
        }
        std::uint64_t length = 0;
        FUZZ_CHECK(value == std::string_view(plist_get_string_ptr(node, &length)));
    }
    return 0;
}
