#include "Support/OVFormat.h"
#include "Support/OVNumber.h"
#include "Support/ZRBytesValueTransformer.h"
#include "Tasks/OVMemoryStatistics.h"
#include "Tasks/OVTaskRunner.h"

namespace orvane {

std::int32_t OVTaskRunner::freeMemory() {
    HostMemory& memory = services_.hostMemory();
    Bundle& bundle = services_.bundle();
    const ZRBytesValueTransformer transformer(bundle, services_.locale(), services_.gestalt());

    // Deliberately not tested for -1, unknown: it counts as a number of bytes.
    const std::int64_t before = OVMemoryStatistics::freeMemoryCount(memory);
    const std::int32_t status =
        runBashCommand("(/usr/bin/du -k -x / >/dev/null 2>&1) & sleep 20; kill $! >/dev/null 2>&1");
    if (status != kTaskSuccess) {
        return status;
    }
    const std::int64_t difference = OVMemoryStatistics::freeMemoryCount(memory) - before;
    // Deliberately formatted whatever the sign.
    const std::string amount = transformer.transformedValue(OVNumber::numberWithLongLong(difference));
    std::string message = "No memory freed"; // deliberately not localized
    if (difference > 0) {
        message = stringWithFormat(bundle.localizedString("%@ of memory freed"), amount)
                      .value_or(amount + " of memory freed");
    }
    runCommand("/bin/echo", {message});
    return kTaskSuccess;
}

} // namespace orvane
