#include "Backends/Linux/ProcessStatus.h"
#include "Platform/ProcessTable.h"

#include <cctype>
#include <dirent.h>
#include <memory>
#include <string>

namespace orvane {

namespace {

class LinuxProcessTable final : public ProcessTable {
  public:
    std::optional<std::vector<ProcessRecord>> processes() override {
        const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir("/proc"), ::closedir);
        if (folder == nullptr) {
            return std::nullopt;
        }
        std::vector<ProcessRecord> records;
        // NOLINTNEXTLINE(concurrency-mt-unsafe): of a folder stream of its own
        while (const dirent* const entry = ::readdir(folder.get())) {
            const std::string name = entry->d_name;
            if (std::isdigit(static_cast<unsigned char>(name.front())) == 0) {
                continue;
            }
            if (const auto record = readProcessStatus(("/proc/" + name + "/stat").c_str())) {
                records.push_back(*record);
            }
        }
        if (records.empty()) {
            return std::nullopt; // an empty folder: nothing is mounted there
        }
        return records;
    }
};

} // namespace

ProcessTable& ProcessTable::platform() {
    static constinit LinuxProcessTable table;
    return table;
}

} // namespace orvane
