// Every operation of OVAuthorization from every state, with everything that can go wrong in it.

#include "Privileges/OVAuthorization.h"

#include "Tests/Fakes/FakeAuthorizationServices.h"

#include <array>
#include <gtest/gtest.h>
#include <ostream>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace orvane {
namespace {

enum class State { kNew, kNotGranted, kGranted, kFreedMarkedGranted, kFreed };
enum class Does { kAuthenticate, kDeauthenticate, kRun, kSetToolPath, kFileOperation };
enum class Trouble { kNone, kNoReference, kRefused, kNotStarted, kNotFreed };

constexpr std::array kStates = {State::kNew, State::kNotGranted, State::kGranted, State::kFreedMarkedGranted,
                                State::kFreed};

struct Step {
    Does does;
    Trouble trouble;
    const char* calls; ///< made, by name
    std::int32_t status;
    State to;
};

constexpr std::int32_t kNoReference = kAuthorizationInternal;
constexpr std::int32_t kRefused = kAuthorizationCanceled;
constexpr std::int32_t kNotStarted = kAuthorizationToolExecuteFailure;
constexpr std::int32_t kNotFreed = -60033;

// clang-format off

/// A new object and a freed one differ in nothing but their past.
const std::vector<Step> kStepsFromNothing = {
    {Does::kAuthenticate,   Trouble::kNone,        "create copyRights ",                   0,            State::kGranted},
    {Does::kAuthenticate,   Trouble::kNoReference, "create ",                              kNoReference, State::kFreed},
    {Does::kAuthenticate,   Trouble::kRefused,     "create copyRights ",                   kRefused,     State::kNotGranted},
    {Does::kDeauthenticate, Trouble::kNone,        "",                                     0,            State::kFreed},
    {Does::kDeauthenticate, Trouble::kNotFreed,    "",                                     0,            State::kFreed},
    {Does::kRun,            Trouble::kNone,        "create copyRights execute waitpid ",   0,            State::kGranted},
    {Does::kRun,            Trouble::kNoReference, "create ",                              kNoReference, State::kFreed},
    {Does::kRun,            Trouble::kRefused,     "create copyRights ",                   kRefused,     State::kNotGranted},
    {Does::kRun,            Trouble::kNotStarted,  "create copyRights execute waitpid ",   kNotStarted,  State::kGranted},
    {Does::kSetToolPath,    Trouble::kNone,        "",                                     0,            State::kFreed},
    {Does::kFileOperation,  Trouble::kNone,        "create copyRights execute waitpid ",   0,            State::kNotGranted},
    {Does::kFileOperation,  Trouble::kNoReference, "create ",                              kNoReference, State::kFreed},
    {Does::kFileOperation,  Trouble::kRefused,     "create copyRights ",                   kRefused,     State::kNotGranted},
    {Does::kFileOperation,  Trouble::kNotStarted,  "create copyRights execute waitpid ",   kNotStarted,  State::kNotGranted},
};

const std::vector<Step> kStepsFromNotGranted = {
    {Does::kAuthenticate,   Trouble::kNone,        "copyRights ",                          0,            State::kGranted},
    {Does::kAuthenticate,   Trouble::kNoReference, "copyRights ",                          0,            State::kGranted},
    {Does::kAuthenticate,   Trouble::kRefused,     "copyRights ",                          kRefused,     State::kNotGranted},
    {Does::kDeauthenticate, Trouble::kNone,        "free ",                                0,            State::kFreed},
    {Does::kDeauthenticate, Trouble::kNotFreed,    "free ",                                kNotFreed,    State::kFreed},
    {Does::kRun,            Trouble::kNone,        "copyRights execute waitpid ",          0,            State::kGranted},
    {Does::kRun,            Trouble::kNoReference, "copyRights execute waitpid ",          0,            State::kGranted},
    {Does::kRun,            Trouble::kRefused,     "copyRights ",                          kRefused,     State::kNotGranted},
    {Does::kRun,            Trouble::kNotStarted,  "copyRights execute waitpid ",          kNotStarted,  State::kGranted},
    {Does::kSetToolPath,    Trouble::kNone,        "",                                     0,            State::kNotGranted},
    {Does::kFileOperation,  Trouble::kNone,        "copyRights execute waitpid ",          0,            State::kNotGranted},
    {Does::kFileOperation,  Trouble::kNoReference, "copyRights execute waitpid ",          0,            State::kNotGranted},
    {Does::kFileOperation,  Trouble::kRefused,     "copyRights ",                          kRefused,     State::kNotGranted},
    {Does::kFileOperation,  Trouble::kNotStarted,  "copyRights execute waitpid ",          kNotStarted,  State::kNotGranted},
};

const std::vector<Step> kStepsFromGranted = {
    {Does::kAuthenticate,   Trouble::kNone,        "copyRights ",                          0,            State::kGranted},
    {Does::kAuthenticate,   Trouble::kNoReference, "copyRights ",                          0,            State::kGranted},
    {Does::kAuthenticate,   Trouble::kRefused,     "copyRights ",                          kRefused,     State::kGranted},
    {Does::kDeauthenticate, Trouble::kNone,        "free ",                                0,            State::kFreedMarkedGranted},
    {Does::kDeauthenticate, Trouble::kNotFreed,    "free ",                                kNotFreed,    State::kFreedMarkedGranted},
    {Does::kRun,            Trouble::kNone,        "execute waitpid ",                     0,            State::kGranted},
    {Does::kRun,            Trouble::kNoReference, "execute waitpid ",                     0,            State::kGranted},
    {Does::kRun,            Trouble::kRefused,     "execute waitpid ",                     0,            State::kGranted},
    {Does::kRun,            Trouble::kNotStarted,  "execute waitpid ",                     kNotStarted,  State::kGranted},
    {Does::kSetToolPath,    Trouble::kNone,        "",                                     0,            State::kNotGranted},
    {Does::kFileOperation,  Trouble::kNone,        "copyRights execute waitpid ",          0,            State::kNotGranted},
    {Does::kFileOperation,  Trouble::kNoReference, "copyRights execute waitpid ",          0,            State::kNotGranted},
    {Does::kFileOperation,  Trouble::kRefused,     "copyRights ",                          kRefused,     State::kNotGranted},
    {Does::kFileOperation,  Trouble::kNotStarted,  "copyRights execute waitpid ",          kNotStarted,  State::kNotGranted},
};

// The mark outlives the reference, deliberately: a run asks nobody and hands on no reference.
const std::vector<Step> kStepsFromFreedMarkedGranted = {
    {Does::kAuthenticate,   Trouble::kNone,        "create copyRights ",                   0,            State::kGranted},
    {Does::kAuthenticate,   Trouble::kNoReference, "create ",                              kNoReference, State::kFreedMarkedGranted},
    {Does::kAuthenticate,   Trouble::kRefused,     "create copyRights ",                   kRefused,     State::kGranted},
    {Does::kDeauthenticate, Trouble::kNone,        "",                                     0,            State::kFreedMarkedGranted},
    {Does::kDeauthenticate, Trouble::kNotFreed,    "",                                     0,            State::kFreedMarkedGranted},
    {Does::kRun,            Trouble::kNone,        "execute waitpid ", kAuthorizationInvalidRef,         State::kFreedMarkedGranted},
    {Does::kRun,            Trouble::kNoReference, "execute waitpid ", kAuthorizationInvalidRef,         State::kFreedMarkedGranted},
    {Does::kRun,            Trouble::kRefused,     "execute waitpid ", kAuthorizationInvalidRef,         State::kFreedMarkedGranted},
    {Does::kRun,            Trouble::kNotStarted,  "execute waitpid ", kAuthorizationInvalidRef,         State::kFreedMarkedGranted},
    {Does::kSetToolPath,    Trouble::kNone,        "",                                     0,            State::kFreed},
    {Does::kFileOperation,  Trouble::kNone,        "create copyRights execute waitpid ",   0,            State::kNotGranted},
    {Does::kFileOperation,  Trouble::kNoReference, "create ",                              kNoReference, State::kFreed},
    {Does::kFileOperation,  Trouble::kRefused,     "create copyRights ",                   kRefused,     State::kNotGranted},
    {Does::kFileOperation,  Trouble::kNotStarted,  "create copyRights execute waitpid ",   kNotStarted,  State::kNotGranted},
};

// clang-format on

const std::vector<Step>& stepsFrom(State state) {
    switch (state) {
    case State::kNotGranted:
        return kStepsFromNotGranted;
    case State::kGranted:
        return kStepsFromGranted;
    case State::kFreedMarkedGranted:
        return kStepsFromFreedMarkedGranted;
    case State::kNew:
    case State::kFreed:
        break;
    }
    return kStepsFromNothing;
}

/// What tells a state from outside.
struct Signs {
    bool hasReference;
    bool isAuthenticated;
    bool operator==(const Signs&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Signs& signs) {
    return stream << (signs.hasReference ? "a reference, " : "no reference, ")
                  << (signs.isAuthenticated ? "authenticated" : "not authenticated");
}

Signs signsOf(State state) {
    return {.hasReference = state == State::kNotGranted || state == State::kGranted,
            .isAuthenticated = state == State::kGranted || state == State::kFreedMarkedGranted};
}

/// One object, brought into a state by the shortest way.
class Subject {
  public:
    explicit Subject(State state) {
        if (state == State::kGranted || state == State::kFreedMarkedGranted) {
            EXPECT_EQ(authorization.authenticate(), 0);
        } else if (state != State::kNew) {
            services.copyRightsStatus = kRefused;
            EXPECT_EQ(authorization.authenticate(), kRefused);
        }
        if (state == State::kFreed || state == State::kFreedMarkedGranted) {
            EXPECT_EQ(authorization.deauthenticate(), 0);
        }
        setTrouble(Trouble::kNone);
        events.clear();
    }

    void setTrouble(Trouble trouble) {
        services.createStatus = trouble == Trouble::kNoReference ? kNoReference : 0;
        services.copyRightsStatus = trouble == Trouble::kRefused ? kRefused : 0;
        services.executeStatus = trouble == Trouble::kNotStarted ? kNotStarted : 0;
        services.freeStatus = trouble == Trouble::kNotFreed ? kNotFreed : 0;
    }

    /// `which` of the three, where there are three.
    std::int32_t perform(Does operation, int which) {
        switch (operation) {
        case Does::kAuthenticate:
            return authorization.authenticate();
        case Does::kDeauthenticate:
            return authorization.deauthenticate();
        case Does::kRun:
            return authorization.runWithPriviliges(&noArguments);
        case Does::kSetToolPath:
            authorization.setToolPath("/other");
            return 0;
        case Does::kFileOperation:
            break;
        }
        return which == 0   ? authorization.removeWithPriviliges("/a")
               : which == 1 ? authorization.copyWithPriviliges("/a", "/b")
                            : authorization.createDirectoryAtPath("/a");
    }

    /// The names of the calls made, a blank behind each.
    std::string calls() {
        std::string names;
        for (const std::string& event : events) {
            const std::string name = event.substr(0, event.find('('));
            names += (name == "executeWithPrivileges" ? "execute" : name) + " ";
        }
        events.clear();
        return names;
    }

    /// Looks without a side door: only an object that is not authenticated asks before it runs.
    Signs signs() {
        setTrouble(Trouble::kNone);
        const bool hasReference = services.live > 0;
        events.clear();
        authorization.runWithPriviliges(&noArguments);
        return {.hasReference = hasReference, .isAuthenticated = calls() == "execute waitpid "};
    }

    test::Events events;
    test::FakeAuthorizationServices services{events};
    test::NotedWaits waits{events};
    OVAuthorization authorization{"/tool", services, waits};
    char* noArguments = nullptr;
};

TEST(AuthorizationStatesTest, EachStateHasItsSigns) {
    for (const State state : kStates) {
        Subject subject(state);
        EXPECT_EQ(subject.signs(), signsOf(state)) << "state " << static_cast<int>(state);
    }
}

TEST(AuthorizationStatesTest, EveryOperationFromEveryStateMakesItsCallsAndLeadsOn) {
    for (const State state : kStates) {
        for (const Step& step : stepsFrom(state)) {
            for (int which = 0; which < (step.does == Does::kFileOperation ? 3 : 1); ++which) {
                SCOPED_TRACE(::testing::Message()
                             << "state " << static_cast<int>(state) << ", operation " << static_cast<int>(step.does)
                             << ", trouble " << static_cast<int>(step.trouble) << ", " << which);
                Subject subject(state);
                subject.setTrouble(step.trouble);
                EXPECT_EQ(subject.perform(step.does, which), step.status);
                EXPECT_EQ(subject.calls(), step.calls);
                EXPECT_EQ(subject.signs(), signsOf(step.to));
            }
        }
    }
}

TEST(AuthorizationStatesTest, TheTablesLeaveNothingOut) {
    std::set<std::tuple<Does, Trouble>> expected;
    for (const Step& step : kStepsFromNothing) {
        expected.emplace(step.does, step.trouble);
    }
    ASSERT_EQ(expected.size(), 14U);
    for (const State state : kStates) {
        std::set<std::tuple<Does, Trouble>> found;
        for (const Step& step : stepsFrom(state)) {
            found.emplace(step.does, step.trouble);
        }
        EXPECT_EQ(found, expected) << "state " << static_cast<int>(state);
        EXPECT_EQ(stepsFrom(state).size(), expected.size());
    }
}

TEST(AuthorizationStatesTest, FromEveryStateTheObjectGoesWithItsReferenceFreedOnce) {
    for (const State state : kStates) {
        test::Events events;
        test::FakeAuthorizationServices services{events};
        test::NotedWaits waits{events};
        {
            OVAuthorization authorization("/tool", services, waits);
            if (state != State::kNew) {
                services.copyRightsStatus = state == State::kNotGranted || state == State::kFreed ? kRefused : 0;
                authorization.authenticate();
            }
            if (state == State::kFreed || state == State::kFreedMarkedGranted) {
                authorization.deauthenticate();
            }
            EXPECT_EQ(services.live, signsOf(state).hasReference ? 1 : 0);
            events.clear();
        }
        EXPECT_EQ(services.live, 0);
        EXPECT_EQ(events, signsOf(state).hasReference ? test::Events{"free(#1, 8)"} : test::Events{});
    }
}

} // namespace
} // namespace orvane
