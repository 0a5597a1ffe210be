#include "Platform/Workspace.h"

#include "Tests/Cocoa/CocoaTestSupport.h"

#import <AppKit/AppKit.h>

#include <gtest/gtest.h>
#include <unistd.h>

namespace orvane::test {

namespace {

std::shared_ptr<RunningApplication> runningAtPath(const std::string& path) {
    for (const auto& application : Workspace::platform().runningApplications()) {
        if (application->bundlePath() == path) {
            return application;
        }
    }
    return nullptr;
}

/// Waits until the application tells the workspace of itself.
std::shared_ptr<RunningApplication> waitFor(const std::string& path) {
    std::shared_ptr<RunningApplication> application;
    runLoopUntil([&] { return (application = runningAtPath(path)) != nullptr; });
    return application;
}

bool waitForEnd(RunningApplication& application) {
    return runLoopUntil([&] { return application.processIdentifier() == -1; });
}

} // namespace

TEST(CocoaWorkspaceTest, TheVersionIsTheLibrarysOwn) {
    EXPECT_EQ(Workspace::platform().appKitVersionNumber(), NSAppKitVersionNumber);
    EXPECT_GT(Workspace::platform().appKitVersionNumber(), 0);
}

TEST(CocoaWorkspaceTest, ThisProcessRunsInIt) {
    std::size_t found = 0;
    for (const auto& application : Workspace::platform().runningApplications()) {
        if (application->processIdentifier() == ::getpid()) {
            ++found;
            EXPECT_EQ(application->localizedName(), "cocoa_tests");
            EXPECT_EQ(application->bundleIdentifier(), std::nullopt);
            EXPECT_EQ(application->bundlePath(), std::nullopt);
            EXPECT_EQ(application->activationPolicy(), kActivationPolicyRegular);
        }
    }
    EXPECT_EQ(found, 1U);
}

TEST(CocoaWorkspaceTest, WhatIsMissingIsNotLaunched) {
    Workspace& workspace = Workspace::platform();

    EXPECT_FALSE(workspace.launchApplication("/no/such/Application.app"));
    EXPECT_EQ(workspace.launchApplicationAtURL("/no/such/Application.app", kWorkspaceLaunchDefault), nullptr);
    EXPECT_FALSE(workspace.launchApplication("/no/such/\xFF.app"));
    EXPECT_EQ(workspace.launchApplicationAtURL("/no/such/\xFF.app", kWorkspaceLaunchDefault), nullptr);
}

TEST(CocoaWorkspaceTest, AMissingApplicationOpensNothing) {
    const TemporaryFolder folder;

    EXPECT_FALSE(Workspace::platform().openFile(folder.write("file", ""), "Finder"));
    EXPECT_FALSE(Workspace::platform().openFile("/no/such/file", "NoSuchApplication"));
}

TEST(CocoaWorkspaceTest, AnApplicationIsLaunchedKnownAndAskedToQuit) {
    const TemporaryFolder folder;
    const std::string path = folder.makeApplication("Launched", "CFBundleIdentifier = \"com.example.launched\";");

    ASSERT_TRUE(Workspace::platform().launchApplication(path));
    const auto application = waitFor(path);
    ASSERT_NE(application, nullptr);
    EXPECT_EQ(application->bundleIdentifier(), "com.example.launched");
    EXPECT_EQ(application->localizedName(), "Launched");
    EXPECT_EQ(application->activationPolicy(), kActivationPolicyRegular);
    EXPECT_GT(application->processIdentifier(), 0);
    EXPECT_NE(application->processIdentifier(), ::getpid());

    EXPECT_TRUE(application->terminate());
    EXPECT_TRUE(waitForEnd(*application));
    EXPECT_FALSE(application->terminate());
    EXPECT_EQ(application->localizedName(), "Launched");
    EXPECT_EQ(runningAtPath(path), nullptr);
}

TEST(CocoaWorkspaceTest, AnApplicationLaunchedByItsPlaceComesBack) {
    const TemporaryFolder folder;
    const std::string path = folder.makeApplication("ByPlace", "LSUIElement = 1;");

    const auto application = Workspace::platform().launchApplicationAtURL(path, kWorkspaceLaunchDefault);

    ASSERT_NE(application, nullptr);
    EXPECT_EQ(application->bundlePath(), path);
    EXPECT_EQ(application->activationPolicy(), kActivationPolicyAccessory);
    const auto running = waitFor(path);
    ASSERT_NE(running, nullptr);
    EXPECT_EQ(application->processIdentifier(), running->processIdentifier());
    EXPECT_TRUE(application->terminate());
    EXPECT_TRUE(waitForEnd(*application));
}

TEST(CocoaWorkspaceTest, AnApplicationInTheBackgroundSaysSo) {
    const TemporaryFolder folder;
    const std::string path = folder.makeApplication("Behind", "LSBackgroundOnly = 1;");
    const auto application = Workspace::platform().launchApplicationAtURL(path, kWorkspaceLaunchDefault);

    ASSERT_NE(application, nullptr);
    EXPECT_EQ(application->activationPolicy(), kActivationPolicyProhibited);
    ASSERT_NE(waitFor(path), nullptr);
    EXPECT_TRUE(application->terminate());
    EXPECT_TRUE(waitForEnd(*application));
}

TEST(CocoaWorkspaceTest, AnApplicationOpensAFile) {
    const TemporaryFolder folder;
    const std::string path = folder.makeApplication("Opener", "");
    const std::string file = folder.write("some file.txt", "");

    EXPECT_TRUE(Workspace::platform().openFile(file, path));

    EXPECT_TRUE(runLoopUntil([&] { return folder.contents("Opener.app.opened") == file; }));
    const auto application = waitFor(path);
    ASSERT_NE(application, nullptr);
    EXPECT_TRUE(application->terminate());
    EXPECT_TRUE(waitForEnd(*application));
}

} // namespace orvane::test
