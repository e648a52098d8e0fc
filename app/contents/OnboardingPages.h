// What the introduction says at the first start, page by page. Values in the language of the
// process-wide words; any thread.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace velmoran {

struct OnboardingPage {
    std::string symbol; ///< of the program's set; empty for its own icon
    std::string title;
    std::string text;

    bool operator==(const OnboardingPage&) const = default;
};

namespace OnboardingPages {

/// All but the last one.
std::vector<OnboardingPage> pages();
/// Where to find the program, with the choice to have it opened at login.
OnboardingPage last();
std::string openAtLogin();
/// "Step 2 of 5": `step` counts from 0, `pages` is how many there are before the last.
std::string stepText(std::size_t step, std::size_t pages);

} // namespace OnboardingPages

} // namespace velmoran
