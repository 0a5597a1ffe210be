#include "Platform/HostMemory.h"

#include <array>
#include <cstddef>
#include <mach/mach.h>
#include <sys/sysctl.h>

namespace orvane {

namespace {

class DarwinHostMemory final : public HostMemory {
  public:
    std::optional<std::int32_t> pageSize() override {
        std::array<int, 2> name = {CTL_HW, HW_PAGESIZE};
        std::int32_t size = 0;
        std::size_t length = sizeof size;
        if (::sysctl(name.data(), name.size(), &size, &length, nullptr, 0) != 0) {
            return std::nullopt;
        }
        return size;
    }

    std::optional<std::uint32_t> freePages() override {
        vm_statistics_data_t statistics = {};
        mach_msg_type_number_t count = HOST_VM_INFO_COUNT;
        const mach_port_t host = ::mach_host_self(); // a new send right with every call
        const kern_return_t result =
            ::host_statistics(host, HOST_VM_INFO, reinterpret_cast<host_info_t>(&statistics), &count);
        ::mach_port_deallocate(mach_task_self(), host);
        if (result != KERN_SUCCESS) {
            return std::nullopt;
        }
        return statistics.free_count;
    }
};

} // namespace

HostMemory& HostMemory::platform() {
    static constinit DarwinHostMemory memory;
    return memory;
}

} // namespace orvane
