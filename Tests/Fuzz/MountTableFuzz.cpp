// The kernel's and the mounting tool's tables of mounts, whatever stands in them.

#include "Backends/Linux/MountTable.h"
#include "Platform/Volumes.h"
#include "Tests/Fuzz/Fuzz.h"

#include <algorithm>

using namespace orvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const std::string table = input.ConsumeRandomLengthString(4096);
    const std::string utab = input.ConsumeRemainingBytesAsString();
    std::vector<MountRecord> records = parseMountInfo(table);
    FUZZ_CHECK(records.size() <= 1 + static_cast<std::size_t>(std::count(table.begin(), table.end(), '\n')));
    const std::vector<MountRecord> before = records;
    addUserOptions(records, utab);
    FUZZ_CHECK(records.size() == before.size());
    constexpr std::uint32_t kKnown = kMountNoSetUserID | kMountLocal | kMountRootFileSystem | kMountDontBrowse;
    for (std::size_t index = 0; index < records.size(); ++index) {
        FUZZ_CHECK(records[index].mountID == before[index].mountID);
        FUZZ_CHECK(records[index].mountPoint == before[index].mountPoint);
        FUZZ_CHECK(records[index].options.starts_with(before[index].options));
        FUZZ_CHECK((mountFlags(records[index]) & ~kKnown) == 0);
        static_cast<void>(mayNotAnswer(records[index]));
        static_cast<void>(mountingUser(records[index]));
    }
    return 0;
}
