// The program's windows as the model knows them: by their ids alone, so that it can open and close
// one without knowing what stands in it. Implemented by whoever shows windows; main thread.
#pragma once

#include <string_view>

namespace velmoran {

struct AwayReport;

namespace WindowID {

inline constexpr std::string_view main = "main";
inline constexpr std::string_view onboarding = "onboarding";
inline constexpr std::string_view history = "history";
inline constexpr std::string_view settings = "settings";
inline constexpr std::string_view details = "details";
inline constexpr std::string_view awayReport = "away-report";

} // namespace WindowID

/// As it stands here, of a program that has no windows: nothing happens.
class Windows {
public:
    virtual ~Windows() = default;
    /// Brings the window to the front, made or not; without one of that id nothing happens. What
    /// shows one thing of many, as the details do, is brought to the front only if it is open.
    virtual void show(std::string_view) {}
    /// The window "away-report" with that report, in place of an earlier one if it is open.
    virtual void showAwayReport(const AwayReport&) {}
    /// Nothing if it isn't open.
    virtual void close(std::string_view) {}
};

} // namespace velmoran
