#pragma once

#include "Platform/ProcessTable.h"

#include <deque>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace orvane::test {

using Processes = std::vector<ProcessRecord>;

/// One process of a table that is written out.
inline ProcessRecord process(pid_t number, pid_t parent, pid_t group, std::uint64_t started = 0,
                             std::string_view name = "") {
    ProcessRecord record;
    record.processID = number;
    record.parent = parent;
    record.group = group;
    record.started = started != 0 ? started : static_cast<std::uint64_t>(number) * 10;
    name.copy(record.name, sizeof record.name - 1);
    return record;
}

inline ProcessRecord zombie(ProcessRecord record) {
    record.isZombie = true;
    return record;
}

/// Answers with each list in turn, the last for all further questions.
class FakeProcessTable final : public ProcessTable {
  public:
    explicit FakeProcessTable(std::deque<std::optional<Processes>> all) : looks(std::move(all)) {}

    std::optional<Processes> processes() override {
        ++questions;
        const auto result = looks.front();
        if (looks.size() > 1) {
            looks.pop_front();
        }
        return result;
    }

    std::deque<std::optional<Processes>> looks;
    int questions = 0;
};

} // namespace orvane::test
