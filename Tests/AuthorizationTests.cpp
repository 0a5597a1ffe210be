#include "Privileges/OVAuthorization.h"

#include "Support/OVLog.h"
#include "Tests/Fakes/FakeAuthorizationServices.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orvane {
namespace {

using test::Events;
using test::FakeAuthorizationServices;
using test::NotedWaits;

constexpr const char* kTool = "/Applications/Some App.app/Tool";
constexpr std::int32_t kRefused = kAuthorizationCanceled;
constexpr std::int32_t kNoReference = kAuthorizationInternal;
constexpr std::int32_t kNotStarted = kAuthorizationToolExecuteFailure;
constexpr std::int32_t kNotFreed = -60033;

/// Notes the messages among the calls.
class NotedMessages final : public OVLogSink {
  public:
    explicit NotedMessages(Events& events) : events_(events), previous_(OVSetLogSink(this)) {}
    ~NotedMessages() { OVSetLogSink(previous_); }
    NotedMessages(const NotedMessages&) = delete;
    NotedMessages& operator=(const NotedMessages&) = delete;
    void logMessage(const char* message) override { events_.emplace_back(message); }

  private:
    Events& events_;
    OVLogSink* previous_;
};

class AuthorizationTest : public ::testing::Test {
  protected:
    Events events;
    FakeAuthorizationServices services{events};
    NotedWaits calls{events};
    NotedMessages messages{events};
    std::array<char, 3> verbose = {'-', 'v', '\0'};
    std::array<char, 4> name = {'a', ' ', 'b', '\0'};
    std::array<char*, 3> arguments = {verbose.data(), name.data(), nullptr};

    /// What has been noted since the last time.
    Events noted() { return std::exchange(events, {}); }

    std::int32_t runTool(const std::optional<std::string>& path = kTool) {
        return OVAuthorization::runToolWithPriviliges(path, arguments.data(), services, calls);
    }
};

const std::string kAskForTool = std::string("copyRights(#1, system.privilege.admin=") + kTool + " 0, 3)";
const std::string kRunTool = std::string("executeWithPrivileges(#1, ") + kTool + ", 0, [-v], [a b])";
constexpr const char* kWait = "waitpid(-1, 0)";

// ---- The steps, one by one

TEST_F(AuthorizationTest, ANewObjectKnowsItsToolAndAsksNobody) {
    const OVAuthorization authorization(kTool, services, calls);
    EXPECT_EQ(authorization.toolPath(), kTool);
    EXPECT_EQ(noted(), Events{});
}

TEST_F(AuthorizationTest, TheAdministratorRightIsAskedForWithThePathAsItsValue) {
    OVAuthorization authorization(kTool, services, calls);
    EXPECT_EQ(authorization.authenticate(), 0);
    EXPECT_EQ(noted(), (Events{"create(3)", kAskForTool}));
}

TEST_F(AuthorizationTest, TheValuesLengthIsThePathsInBytes) {
    class Lengths final : public AuthorizationServices {
      public:
        std::int32_t create(std::uint32_t /*flags*/, AuthorizationReference* reference) override {
            *reference = reinterpret_cast<AuthorizationReference>(this);
            return 0;
        }
        std::int32_t copyRights(AuthorizationReference /*reference*/, const AuthorizationItem& right,
                                std::uint32_t /*flags*/) override {
            length = right.valueLength;
            return 0;
        }
        std::int32_t executeWithPrivileges(AuthorizationReference /*reference*/, const char* /*path*/,
                                           std::uint32_t /*flags*/, char* const* /*arguments*/) override {
            return 0;
        }
        std::int32_t free(AuthorizationReference /*reference*/, std::uint32_t /*flags*/) override { return 0; }
        std::size_t length = 0;
    } lengths;
    OVAuthorization authorization("/\xC3\xA9t\xC3\xA9", lengths, calls);
    EXPECT_EQ(authorization.authenticate(), 0);
    EXPECT_EQ(lengths.length, 6U);
}

TEST_F(AuthorizationTest, WithoutAToolPathTheRightHasNoValue) {
    OVAuthorization authorization(std::nullopt, services, calls);
    EXPECT_EQ(authorization.toolPath(), std::nullopt);
    EXPECT_EQ(authorization.authenticate(), 0);
    EXPECT_EQ(noted(), (Events{"create(3)", "copyRights(#1, system.privilege.admin=no value of 0 0, 3)"}));
}

TEST_F(AuthorizationTest, WithoutAToolPathNothingCanBeRun) {
    OVAuthorization authorization(std::nullopt, services, calls);
    EXPECT_EQ(authorization.runWithPriviliges(arguments.data()), kAuthorizationInvalidPointer);
    EXPECT_EQ(noted(), (Events{"create(3)", "copyRights(#1, system.privilege.admin=no value of 0 0, 3)",
                               "executeWithPrivileges(#1, (null), 0, [-v], [a b])", kWait}));
}

TEST_F(AuthorizationTest, ARefusalKeepsTheReferenceForAnotherTry) {
    OVAuthorization authorization(kTool, services, calls);
    services.copyRightsStatus = kRefused;
    EXPECT_EQ(authorization.authenticate(), kRefused);
    EXPECT_EQ(services.live, 1);
    services.copyRightsStatus = 0;
    EXPECT_EQ(authorization.authenticate(), 0);
    EXPECT_EQ(noted(), (Events{"create(3)", kAskForTool, kAskForTool}));
}

TEST_F(AuthorizationTest, ARefusalForgetsNoRightGrantedBefore) {
    OVAuthorization authorization(kTool, services, calls);
    EXPECT_EQ(authorization.authenticate(), 0);
    services.copyRightsStatus = kRefused;
    EXPECT_EQ(authorization.authenticate(), kRefused);
    noted();
    EXPECT_EQ(authorization.runWithPriviliges(arguments.data()), 0);
    EXPECT_EQ(noted(), (Events{kRunTool, kWait}));
}

TEST_F(AuthorizationTest, RunningTwiceAuthenticatesOnce) {
    OVAuthorization authorization(kTool, services, calls);
    EXPECT_EQ(authorization.runWithPriviliges(arguments.data()), 0);
    EXPECT_EQ(authorization.runWithPriviliges(arguments.data()), 0);
    EXPECT_EQ(noted(), (Events{"create(3)", kAskForTool, kRunTool, kWait, kRunTool, kWait}));
}

TEST_F(AuthorizationTest, TheArgumentsAreHandedOnAsTheyAre) {
    OVAuthorization authorization(kTool, services, calls);
    EXPECT_EQ(authorization.runWithPriviliges(arguments.data()), 0);
    EXPECT_EQ(services.lastArguments, arguments.data()) << "not a copy";
    EXPECT_EQ(authorization.runWithPriviliges(nullptr), 0);
    EXPECT_EQ(services.lastArguments, nullptr);
}

TEST_F(AuthorizationTest, AnInterruptedWaitIsNotRepeated) {
    calls.error = EINTR;
    OVAuthorization authorization(kTool, services, calls);
    EXPECT_EQ(authorization.runWithPriviliges(arguments.data()), 0) << "nobody asks how the wait went";
    EXPECT_EQ(noted(), (Events{"create(3)", kAskForTool, kRunTool, kWait}));
}

TEST_F(AuthorizationTest, AToolThatDidNotStartIsWaitedForAllTheSame) {
    services.executeStatus = kNotStarted;
    OVAuthorization authorization(kTool, services, calls);
    EXPECT_EQ(authorization.runWithPriviliges(arguments.data()), kNotStarted);
    EXPECT_EQ(noted().back(), kWait);
}

TEST_F(AuthorizationTest, ARefusedRunStartsNothingAndWaitsForNobody) {
    services.copyRightsStatus = kRefused;
    OVAuthorization authorization(kTool, services, calls);
    EXPECT_EQ(authorization.runWithPriviliges(arguments.data()), kRefused);
    EXPECT_EQ(noted(), (Events{"create(3)", kAskForTool}));
}

TEST_F(AuthorizationTest, AnotherPathIsAskedForAnewOnTheSameReference) {
    OVAuthorization authorization(kTool, services, calls);
    EXPECT_EQ(authorization.authenticate(), 0);
    authorization.setToolPath("/bin/other");
    EXPECT_EQ(authorization.toolPath(), "/bin/other");
    EXPECT_EQ(authorization.runWithPriviliges(arguments.data()), 0);
    EXPECT_EQ(noted(), (Events{"create(3)", kAskForTool, "copyRights(#1, system.privilege.admin=/bin/other 0, 3)",
                               "executeWithPrivileges(#1, /bin/other, 0, [-v], [a b])", kWait}));
}

TEST_F(AuthorizationTest, TheSamePathSetAgainIsAskedForAnew) {
    OVAuthorization authorization(kTool, services, calls);
    EXPECT_EQ(authorization.authenticate(), 0);
    authorization.setToolPath(authorization.toolPath());
    EXPECT_EQ(authorization.toolPath(), kTool);
    noted();
    EXPECT_EQ(authorization.runWithPriviliges(arguments.data()), 0);
    EXPECT_EQ(noted(), (Events{kAskForTool, kRunTool, kWait}));
}

TEST_F(AuthorizationTest, DeauthenticatingANewObjectDoesNothing) {
    OVAuthorization authorization(kTool, services, calls);
    EXPECT_EQ(authorization.deauthenticate(), 0);
    EXPECT_EQ(noted(), Events{});
}

TEST_F(AuthorizationTest, DeauthenticatingDestroysTheRightsOnce) {
    OVAuthorization authorization(kTool, services, calls);
    EXPECT_EQ(authorization.authenticate(), 0);
    noted();
    services.freeStatus = kNotFreed;
    EXPECT_EQ(authorization.deauthenticate(), kNotFreed);
    EXPECT_EQ(authorization.deauthenticate(), 0) << "the reference is gone, however the freeing went";
    EXPECT_EQ(noted(), (Events{"free(#1, 8)"}));
}

TEST_F(AuthorizationTest, AfterDeauthenticatingARunAsksNobodyAndFailsForWantOfAReference) {
    OVAuthorization authorization(kTool, services, calls);
    EXPECT_EQ(authorization.authenticate(), 0);
    EXPECT_EQ(authorization.deauthenticate(), 0);
    noted();
    EXPECT_EQ(authorization.runWithPriviliges(arguments.data()), kAuthorizationInvalidRef);
    EXPECT_EQ(noted(), (Events{std::string("executeWithPrivileges(null, ") + kTool + ", 0, [-v], [a b])", kWait}));
}

TEST_F(AuthorizationTest, AuthenticatingAfterDeauthenticatingTakesANewReference) {
    OVAuthorization authorization(kTool, services, calls);
    EXPECT_EQ(authorization.authenticate(), 0);
    EXPECT_EQ(authorization.deauthenticate(), 0);
    noted();
    EXPECT_EQ(authorization.authenticate(), 0);
    EXPECT_EQ(noted(), (Events{"create(3)", std::string("copyRights(#2, system.privilege.admin=") + kTool + " 0, 3)"}));
}

TEST_F(AuthorizationTest, AnObjectThatGoesDeauthenticates) {
    {
        OVAuthorization authorization(kTool, services, calls);
        EXPECT_EQ(authorization.authenticate(), 0);
        noted();
    }
    EXPECT_EQ(noted(), (Events{"free(#1, 8)"}));
    { const OVAuthorization untouched(kTool, services, calls); }
    EXPECT_EQ(noted(), Events{});
}

// ---- The file operations

TEST_F(AuthorizationTest, RemovingRunsRmOnOnePath) {
    OVAuthorization authorization(kTool, services, calls);
    EXPECT_EQ(authorization.removeWithPriviliges("/Users/me/-a \"b\" $c"), 0);
    EXPECT_EQ(noted(), (Events{"create(3)", "copyRights(#1, system.privilege.admin=/bin/rm 0, 3)",
                               "executeWithPrivileges(#1, /bin/rm, 0, [-rf], [/Users/me/-a \"b\" $c])", kWait}));
}

TEST_F(AuthorizationTest, CopyingRunsCpOnTwoPaths) {
    OVAuthorization authorization(kTool, services, calls);
    EXPECT_EQ(authorization.copyWithPriviliges("from here", "-to"), 0);
    EXPECT_EQ(noted(), (Events{"create(3)", "copyRights(#1, system.privilege.admin=/bin/cp 0, 3)",
                               "executeWithPrivileges(#1, /bin/cp, 0, [-f], [from here], [-to])", kWait}));
}

TEST_F(AuthorizationTest, CreatingAFolderRunsMkdirOnOnePath) {
    OVAuthorization authorization(kTool, services, calls);
    EXPECT_EQ(authorization.createDirectoryAtPath("/Library/New Folder"), 0);
    EXPECT_EQ(noted(), (Events{"create(3)", "copyRights(#1, system.privilege.admin=/bin/mkdir 0, 3)",
                               "executeWithPrivileges(#1, /bin/mkdir, 0, [-p], [/Library/New Folder])", kWait}));
}

using FileOperation = std::function<std::int32_t(OVAuthorization&)>;

const std::vector<FileOperation>& fileOperations() {
    static const std::vector<FileOperation> operations = {
        [](OVAuthorization& authorization) { return authorization.removeWithPriviliges("/a"); },
        [](OVAuthorization& authorization) { return authorization.copyWithPriviliges("/a", "/b"); },
        [](OVAuthorization& authorization) { return authorization.createDirectoryAtPath("/a"); },
    };
    return operations;
}

TEST_F(AuthorizationTest, AFileOperationLeavesTheToolPathAndAnObjectThatMustAskAgain) {
    for (const FileOperation& operation : fileOperations()) {
        for (const std::int32_t start : {0, kNotStarted}) {
            OVAuthorization authorization(kTool, services, calls);
            EXPECT_EQ(authorization.authenticate(), 0);
            services.executeStatus = start;
            EXPECT_EQ(operation(authorization), start);
            EXPECT_EQ(authorization.toolPath(), kTool);
            services.executeStatus = 0;
            const auto asked = [&] {
                return std::count_if(events.begin(), events.end(),
                                     [](const std::string& event) { return event.starts_with("copyRights"); });
            };
            const auto before = asked();
            EXPECT_EQ(authorization.runWithPriviliges(arguments.data()), 0);
            EXPECT_EQ(asked(), before + 1);
        }
    }
}

TEST_F(AuthorizationTest, ARefusedFileOperationRunsNothingAndLeavesTheToolPath) {
    services.copyRightsStatus = kRefused;
    for (const FileOperation& operation : fileOperations()) {
        OVAuthorization authorization(kTool, services, calls);
        EXPECT_EQ(operation(authorization), kRefused);
        EXPECT_EQ(authorization.toolPath(), kTool);
        EXPECT_EQ(events.size(), 2U) << "a reference and a refusal";
        EXPECT_EQ(authorization.deauthenticate(), 0);
        noted();
    }
}

TEST_F(AuthorizationTest, AFileOperationNeedsNoToolPathAndLeavesNone) {
    OVAuthorization authorization(std::nullopt, services, calls);
    EXPECT_EQ(authorization.removeWithPriviliges("/a"), 0);
    EXPECT_EQ(authorization.toolPath(), std::nullopt);
}

TEST_F(AuthorizationTest, ThePathOfAFileOperationMayBeTheToolPathItself) {
    for (const char* const tool : {"/t", kTool}) { // short texts are kept elsewhere than long ones
        OVAuthorization authorization(tool, services, calls);
        EXPECT_EQ(authorization.removeWithPriviliges(authorization.toolPath()->c_str()), 0);
        EXPECT_EQ(events.at(2), std::string("executeWithPrivileges(#") + (tool == kTool ? "2" : "1") +
                                    ", /bin/rm, 0, [-rf], [" + tool + "])");
        EXPECT_EQ(authorization.deauthenticate(), 0);
        noted();
    }
}

TEST_F(AuthorizationTest, APathThatIsNilEndsTheArguments) {
    OVAuthorization authorization(kTool, services, calls);
    EXPECT_EQ(authorization.removeWithPriviliges(nullptr), 0);
    EXPECT_EQ(events.at(2), "executeWithPrivileges(#1, /bin/rm, 0, [-rf])");
    noted();
    EXPECT_EQ(authorization.copyWithPriviliges(nullptr, "/etc"), 0);
    EXPECT_EQ(events.at(1), "executeWithPrivileges(#1, /bin/cp, 0, [-f])");
}

// ---- The one-shot run

TEST_F(AuthorizationTest, AOneShotRunAuthenticatesRunsAndDeauthenticates) {
    EXPECT_EQ(runTool(), 0);
    EXPECT_EQ(noted(), (Events{"create(3)", kAskForTool, kRunTool, kWait, "free(#1, 8)"}));
    EXPECT_EQ(services.lastArguments, arguments.data());
}

TEST_F(AuthorizationTest, AOneShotRunThatIsRefusedSaysSoAndFreesTheReference) {
    services.copyRightsStatus = kRefused;
    EXPECT_EQ(runTool(), kRefused);
    EXPECT_EQ(noted(), (Events{"create(3)", kAskForTool,
                               "Authentication: runToolWithPriviliges: error -60006 authenticating, will abort",
                               "free(#1, 8)"}));
}

TEST_F(AuthorizationTest, AOneShotRunWithoutAReferenceSaysSo) {
    services.createStatus = kNoReference;
    EXPECT_EQ(runTool(), kNoReference);
    EXPECT_EQ(noted(),
              (Events{"create(3)", "Authentication: runToolWithPriviliges: error -60008 authenticating, will abort"}));
}

TEST_F(AuthorizationTest, AOneShotRunThatDoesNotStartSaysSoAndFreesTheReference) {
    services.executeStatus = kNotStarted;
    EXPECT_EQ(runTool(), kNotStarted);
    EXPECT_EQ(noted(), (Events{"create(3)", kAskForTool, kRunTool, kWait,
                               std::string("Authentication: runToolWithPriviliges: error -60031 running ") + kTool +
                                   ", will abort",
                               "free(#1, 8)"}));
}

TEST_F(AuthorizationTest, AOneShotRunOfNoToolSaysNull) {
    EXPECT_EQ(runTool(std::nullopt), kAuthorizationInvalidPointer);
    ASSERT_EQ(events.size(), 6U);
    EXPECT_EQ(events[4], "Authentication: runToolWithPriviliges: error -60004 running (null), will abort");
    EXPECT_EQ(events[5], "free(#1, 8)");
}

TEST_F(AuthorizationTest, AOneShotRunThatCannotDeauthenticateSaysSo) {
    services.freeStatus = kNotFreed;
    EXPECT_EQ(runTool(), kNotFreed);
    EXPECT_EQ(noted(), (Events{"create(3)", kAskForTool, kRunTool, kWait, "free(#1, 8)",
                               "Authentication: runToolWithPriviliges: error -60033 deauthenticating, will abort"}));
}

} // namespace
} // namespace orvane
