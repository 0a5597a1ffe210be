// What the documents say of the tasks, held against the tool's own table.

#include "Helper Tool/OrvaneTool.h"
#include "Tasks/OVTaskCatalogue.h"

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
