#include "Platform/Gestalt.h"

#include <CoreServices/CoreServices.h>

namespace orvane {

namespace {

class DarwinGestalt final : public Gestalt {
  public:
    std::int16_t ask(std::uint32_t selector, std::int32_t* response) override {
        SInt32 answer = 0;
// Deprecated since 10.8, and still what tells the version to every system that this runs on.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
        const OSErr error = ::Gestalt(selector, &answer);
#pragma GCC diagnostic pop
        if (error == noErr) {
            *response = static_cast<std::int32_t>(answer);
        }
        return error;
    }
};

} // namespace

Gestalt& Gestalt::platform() {
    static constinit DarwinGestalt gestalt;
    return gestalt;
}

} // namespace orvane
