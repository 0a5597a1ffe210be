// What the documents say of the tasks, held against the tool's own table.

#include "Helper Tool/OrvaneTool.h"
#include "Tasks/OVTaskCatalogue.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace orvane {
namespace {

std::string document(const std::string& name) {
    const std::string path = std::string(ORVANE_SOURCE_DIR) + "/" + name;
    std::ifstream in(path);
    EXPECT_TRUE(in.good()) << path;
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

struct Task {
    std::string name;
    std::string argument;
    std::string description;
};

std::vector<Task> listedTasks() {
    std::vector<Task> tasks;
    std::istringstream in(document("Documentation/tasks.txt"));
    for (std::string line; std::getline(in, line);) {
        std::istringstream fields(line);
        Task task;
        std::getline(fields, task.name, '\t');
        std::getline(fields, task.argument, '\t');
        std::getline(fields, task.description);
        if (!line.starts_with('#') && !task.name.ends_with("Priviliges")) {
            tasks.push_back(task);
        }
    }
    return tasks;
}

TEST(DocumentationTest, TheListOfTasksIsTheToolsTable) {
    std::vector<std::string> listed;
    for (const Task& task : listedTasks()) {
        listed.push_back(task.name);
        EXPECT_FALSE(task.argument.empty()) << task.name;
        EXPECT_TRUE(task.description.ends_with('.')) << task.name;
    }
    std::vector<std::string> known;
    for (const std::string_view name : OrvaneTool::taskNames()) {
        known.emplace_back(name);
    }
    EXPECT_EQ(listed, known);
}

TEST(DocumentationTest, TheListOfTasksIsTheCatalogues) {
    std::vector<Task> described;
    for (const OVTaskDescription& task : OVTaskCatalogue()) {
        if (task.isToolTask) {
            described.push_back({std::string(task.name), std::string(task.argument.empty() ? "-" : task.argument),
                                 std::string(task.does)});
        }
    }
    const std::vector<Task> listed = listedTasks();
    ASSERT_EQ(described.size(), listed.size());
    for (std::size_t index = 0; index < listed.size(); ++index) {
        EXPECT_EQ(described[index].name, listed[index].name);
        EXPECT_EQ(described[index].argument, listed[index].argument) << listed[index].name;
        EXPECT_EQ(described[index].description, listed[index].description) << listed[index].name;
    }
}

TEST(DocumentationTest, TheReadmeHasEveryTaskWithItsDescription) {
    const std::string readme = document("README.md");
    for (const Task& task : listedTasks()) {
        const std::string argument = task.argument == "-" ? "" : task.argument;
        const std::string row = "| `" + task.name + "` | " + argument + " | " + task.description + " |\n";
        EXPECT_NE(readme.find(row), std::string::npos) << row;
    }
}

TEST(DocumentationTest, TheManualPageNamesEveryTask) {
    const std::string page = document("Documentation/OrvaneTool.8");
    for (const Task& task : listedTasks()) {
        EXPECT_NE(page.find(task.name), std::string::npos) << task.name;
    }
}

TEST(DocumentationTest, TheReadmesExampleIsTheOneThatIsBuilt) {
    EXPECT_NE(document("README.md").find("```cpp\n" + document("Tests/Examples/ReadyExample.cpp") + "```\n"),
              std::string::npos);
}

/// What stands between the bars of a table's row.
std::vector<std::string> cellsOf(const std::string& row) {
    std::vector<std::string> cells;
    for (std::size_t at = 1; at < row.size();) {
        const std::size_t end = std::min(row.find('|', at), row.size());
        cells.push_back(row.substr(at, end - at));
        at = end + 1;
    }
    return cells;
}

/// The rows of the table on the page that says which systems took away what tasks need.
std::vector<std::vector<std::string>> rowsOfWhatIsGone() {
    std::istringstream page(document("Documentation/Shipping.md"));
    std::vector<std::vector<std::string>> rows;
    bool isThere = false;
    for (std::string line; std::getline(page, line);) {
        isThere = isThere || line == "| task | program | gone | |";
        if (isThere && line.starts_with("| `")) {
            rows.push_back(cellsOf(line));
        }
    }
    return rows;
}

/// "since 10.11" when that is sure, "about 10.11" otherwise.
std::string goneText(const OVTaskNeed& need) {
    return std::string(need.isSure ? "since " : "about ").append(need.goneSince);
}

/// The name as the page has it: a program's without its folder.
std::string nameOnPage(const OVTaskNeed& need) {
    const std::string_view name = need.name;
    return "`" + std::string(need.isProgram ? name.substr(name.rfind('/') + 1) : name) + "`";
}

TEST(DocumentationTest, WhatSystemsTookAwayIsOnThePageAsInTheCatalogue) {
    const auto rows = rowsOfWhatIsGone();
    ASSERT_GT(rows.size(), 5U);
    std::size_t gone = 0;
    for (const OVTaskDescription& task : OVTaskCatalogue()) {
        for (const OVTaskNeed& need : task.needs) {
            const auto isFor = [&](const std::vector<std::string>& row) {
                const std::string name = "`" + std::string(task.name);
                return (row[0].find(name + "`") != std::string::npos ||
                        row[0].find(name + ":`") != std::string::npos) &&
                       row[1].find(nameOnPage(need)) != std::string::npos;
            };
            const auto row = std::find_if(rows.begin(), rows.end(), isFor);
            if (!need.goneSince.empty()) {
                ++gone;
                ASSERT_NE(row, rows.end()) << task.name << " needs " << need.name;
                EXPECT_EQ((*row)[2], " " + goneText(need) + " ") << task.name;
                EXPECT_TRUE((*row)[3].starts_with(need.isSure ? " sure" : " unsure")) << task.name;
            } else if (row != rows.end()) {
                EXPECT_TRUE((*row)[2] == " never " || (*row)[2] == " not known to be ")
                    << task.name << ", " << need.name;
            }
        }
    }
    EXPECT_GT(gone, 10U);
}

TEST(DocumentationTest, WhatThePageSaysIsGoneIsInTheCatalogue) {
    for (const std::vector<std::string>& row : rowsOfWhatIsGone()) {
        const bool isDated = row[2].starts_with(" since ") || row[2].starts_with(" about ");
        std::size_t tasks = 0;
        for (const OVTaskDescription& task : OVTaskCatalogue()) {
            const std::string name = "`" + std::string(task.name);
            if (row[0].find(name + "`") == std::string::npos && row[0].find(name + ":`") == std::string::npos) {
                continue;
            }
            ++tasks;
            const bool isKnown = std::any_of(task.needs.begin(), task.needs.end(), [&](const OVTaskNeed& need) {
                return need.goneSince.empty() != isDated && row[1].find(nameOnPage(need)) != std::string::npos &&
                       (!isDated || row[2] == " " + goneText(need) + " ");
            });
            EXPECT_TRUE(isKnown) << task.name << ":" << row[1];
        }
        EXPECT_GT(tasks, 0U) << row[0];
    }
}

/// The line that begins a public class, category or protocol, and whether the comment right above it says on which
/// threads it may be used.
void expectThreadsAreSaid(const std::string& header, std::size_t& declarations) {
    std::istringstream in(document("Framework/Orvane/" + header));
    bool said = false;
    for (std::string line; std::getline(in, line);) {
        if (line.starts_with("///")) {
            said = said || line.starts_with("/// Threads: ");
            continue;
        }
        if (line.starts_with("@interface ") || (line.starts_with("@protocol ") && !line.ends_with(';'))) {
            EXPECT_TRUE(said) << header << ": " << line;
            ++declarations;
        }
        said = false;
    }
}

TEST(DocumentationTest, EveryPublicClassSaysOnWhichThreadsItMayBeUsed) {
    std::istringstream umbrella(document("Framework/Orvane/Orvane.h"));
    const std::string import = "#import <Orvane/";
    std::size_t declarations = 0;
    for (std::string line; std::getline(umbrella, line);) {
        if (line.starts_with(import)) {
            expectThreadsAreSaid(line.substr(import.size(), line.size() - import.size() - 1), declarations);
        }
    }
    EXPECT_EQ(declarations, 14U); // eight classes, three categories, three protocols
}

} // namespace
} // namespace orvane
