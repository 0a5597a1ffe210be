#include "Platform/ProcessTable.h"

#include <array>
#include <cstring>
#include <libproc.h>
#include <sys/proc.h>
#include <sys/sysctl.h>

namespace orvane {

namespace {

/// All processes with the moment of their start, whosever they are, at once.
std::vector<kinfo_proc> kernelList() {
    std::array<int, 3> name = {CTL_KERN, KERN_PROC, KERN_PROC_ALL};
    std::size_t size = 0;
    if (::sysctl(name.data(), name.size(), nullptr, &size, nullptr, 0) != 0) {
        return {};
    }
    // Asked without room, the kernel adds some for those that begin meanwhile.
    std::vector<kinfo_proc> list(size / sizeof(kinfo_proc));
    size = list.size() * sizeof(kinfo_proc);
    const bool isTold = ::sysctl(name.data(), name.size(), list.data(), &size, nullptr, 0) == 0;
    list.resize(isTold ? size / sizeof(kinfo_proc) : 0);
    return list;
}

template <std::size_t size> void copyName(const char (&name)[size], ProcessRecord& record) {
    static_assert(size < sizeof record.name);
    std::memcpy(record.name, name, ::strnlen(name, size));
}

ProcessRecord recordOf(const kinfo_proc& process) {
    constexpr std::uint64_t kMicroseconds = 1'000'000; // in a second
    const timeval& start = process.kp_proc.p_starttime;
    ProcessRecord record;
    record.processID = process.kp_proc.p_pid;
    record.parent = process.kp_eproc.e_ppid;
    record.group = process.kp_eproc.e_pgid;
    record.started =
        static_cast<std::uint64_t>(start.tv_sec) * kMicroseconds + static_cast<std::uint64_t>(start.tv_usec);
    record.isZombie = process.kp_proc.p_stat == SZOMB;
    copyName(process.kp_proc.p_comm, record);
    return record;
}

class DarwinProcessTable final : public ProcessTable {
  public:
    std::optional<std::vector<ProcessRecord>> processes() override {
        std::vector<ProcessRecord> records;
        for (const kinfo_proc& process : kernelList()) {
            records.push_back(recordOf(process));
        }
        if (records.empty()) {
            return std::nullopt;
        }
        return records;
    }
};

} // namespace

ProcessTable& ProcessTable::platform() {
    static constinit DarwinProcessTable table;
    return table;
}

} // namespace orvane
