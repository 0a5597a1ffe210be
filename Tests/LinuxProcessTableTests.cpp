#include "Backends/Linux/ProcessStatus.h"
#include "Tests/QuietChild.h"
#include "Tests/TaskRunnerTestSupport.h"

#include <sys/prctl.h>

namespace orvane {
namespace {

using test::QuietChild;

TEST(LinuxProcessTableTest, ANameMayHoldAnything) {
    for (const char* const each : {") Z 1 2 3", "a (b) c", "(((", ")))", "", "new\nline", "\xFF\xFE"}) {
        static const char* name = nullptr;
        name = each;
        const QuietChild child([] { ::prctl(PR_SET_NAME, name); });
        const ProcessRecord record = child.record();
        EXPECT_STREQ(record.name, name);
        EXPECT_EQ(record.parent, ::getpid()) << name;
        EXPECT_EQ(record.group, child.pid) << name;
        EXPECT_FALSE(record.isZombie) << name;
    }
}

TEST(LinuxProcessTableTest, ARecordThatIsNoneIsNoProcess) {
    const test::Folder folder;
    EXPECT_FALSE(readProcessStatus(folder.at("missing").c_str()));
    for (const char* text : {"", "1", "1 (name", "1 (name)", "1 (name) S", "1 (name) S 2 3 4 5", "x (name) S 2 3"}) {
        EXPECT_FALSE(readProcessStatus(folder.makeFile("stat", text).c_str())) << text;
    }
    const auto record = readProcessStatus(
        folder.makeFile("stat", "12 (name) S 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23").c_str());
    ASSERT_TRUE(record);
    EXPECT_EQ(record->processID, 12);
    EXPECT_EQ(record->parent, 2);
    EXPECT_EQ(record->group, 3);
    EXPECT_EQ(record->started, 20U) << "the twenty-second field";
}

} // namespace
} // namespace orvane
