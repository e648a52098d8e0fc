// A case that runs with made-up devices, which umockdev plays. It must be loaded before the
// program, so the case runs itself again under its wrapper.
#pragma once

#include "support/ChildProcess.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include <umockdev.h>
#include <unistd.h>

namespace velmoran::support {

/// Runs `body` where umockdev is loaded.
inline void underUmockdev(const std::function<void(UMockdevTestbed*)>& body) {
    constexpr const char* marker = "VELMORAN_TEST_UNDER_UMOCKDEV";
    if (std::getenv(marker)) { // NOLINT(concurrency-mt-unsafe)
        UMockdevTestbed* testbed = umockdev_testbed_new();
        body(testbed);
        g_object_unref(testbed);
        return;
    }
    const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
    ChildProcess::Options options;
    options.inheritsTerminal = true;
    for (char** variable = environ; *variable; ++variable) {
        const std::string text = *variable;
        options.environment[text.substr(0, text.find('='))] = text.substr(text.find('=') + 1);
    }
    options.environment[marker] = "1";
    // The sanitizer's library wants to be the first that is loaded, which the wrapper's is now.
    options.environment["ASAN_OPTIONS"] += ":verify_asan_link_order=0";
    ChildProcess again(
        {"umockdev-wrapper", std::filesystem::read_symlink("/proc/self/exe").string(),
         std::string("--gtest_filter=") + test->test_suite_name() + '.' + test->name()},
        options);
    EXPECT_EQ(again.wait(), 0);
}

} // namespace velmoran::support
