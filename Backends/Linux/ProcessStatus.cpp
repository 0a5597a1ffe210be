#include "Backends/Linux/ProcessStatus.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

namespace orvane {

namespace {

/// The fields behind the name, one at a time.
class Fields {
  public:
    explicit Fields(std::string_view text) : rest_(text) {}

    std::string_view next() {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(' '), rest_.size()));
        const std::string_view field = rest_.substr(0, rest_.find(' '));
        rest_.remove_prefix(field.size());
        return field;
    }

    template <typename Number> bool read(Number& number) {
        const std::string_view field = next();
        return std::from_chars(field.data(), field.data() + field.size(), number).ec == std::errc();
    }

  private:
    std::string_view rest_;
};

} // namespace

std::optional<ProcessRecord> readProcessStatus(const char* path) {
    std::array<char, 1024> bytes = {};
    const int file = ::open(path, O_RDONLY | O_CLOEXEC);
    const ssize_t size = file == -1 ? -1 : ::read(file, bytes.data(), bytes.size());
    ::close(file);
    const std::string_view text(bytes.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    // The second field is a name that may hold anything but ends with the last parenthesis.
    const std::size_t name = text.find('(') + 1;
    const std::size_t end = text.rfind(')');
    ProcessRecord record;
    if (end == std::string_view::npos ||
        std::from_chars(text.data(), text.data() + text.size(), record.processID).ec != std::errc()) {
        return std::nullopt;
    }
    text.substr(name, end - name).copy(record.name, sizeof record.name - 1);
    Fields fields(text.substr(end + 1));
    const std::string_view state = fields.next();
    record.isZombie = state == "Z" || state == "X";
    bool isWhole = fields.read(record.parent) && fields.read(record.group);
    constexpr int kFirstBehindGroup = 6;
    constexpr int kStart = 22;
    for (int field = kFirstBehindGroup; field < kStart; ++field) {
        fields.next();
    }
    isWhole = isWhole && fields.read(record.started);
    return isWhole ? std::optional(record) : std::nullopt;
}

} // namespace orvane
