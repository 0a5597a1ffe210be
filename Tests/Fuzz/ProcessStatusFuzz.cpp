// The kernel's records of processes: a name may hold anything, what stands around it is read as it was written.

#include "Backends/Linux/ProcessStatus.h"
#include "Tests/Fuzz/Fuzz.h"

#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

using namespace orvane;

namespace {

std::optional<ProcessRecord> recordOf(std::string_view text) {
    static const int file = ::memfd_create("stat", MFD_CLOEXEC);
    static const std::string path = "/proc/self/fd/" + std::to_string(file);
    FUZZ_CHECK(::ftruncate(file, 0) == 0);
    FUZZ_CHECK(::pwrite(file, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()));
    return readProcessStatus(path.c_str());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (const auto record = recordOf(fuzz::bytes(data, size))) {
        FUZZ_CHECK(std::memchr(record->name, 0, sizeof record->name) != nullptr);
    }
    FuzzedDataProvider input(data, size);
    const auto process = input.ConsumeIntegral<std::int32_t>();
    const auto parent = input.ConsumeIntegral<std::int32_t>();
    const auto group = input.ConsumeIntegral<std::int32_t>();
    const auto started = input.ConsumeIntegral<std::uint64_t>();
    const char state = input.PickValueInArray({'R', 'S', 'D', 'Z', 'T', 'X', 'I'});
    const std::string name = input.ConsumeBytesAsString(15);
    std::string text = std::to_string(process) + " (" + name + ") " + state + " " + std::to_string(parent) + " " +
                       std::to_string(group);
    for (int field = 6; field < 22; ++field) {
        text += " " + std::to_string(input.ConsumeIntegral<std::int64_t>());
    }
    text += " " + std::to_string(started) + " 0 0\n";
    const auto record = recordOf(text);
    FUZZ_CHECK(record.has_value());
    FUZZ_CHECK(record->processID == process && record->parent == parent && record->group == group);
    FUZZ_CHECK(record->started == started && record->isZombie == (state == 'Z' || state == 'X'));
    FUZZ_CHECK(std::string_view(record->name) == std::string_view(name.c_str()));
    return 0;
}
