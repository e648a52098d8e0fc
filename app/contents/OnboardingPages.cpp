#include "app/contents/OnboardingPages.h"

#include "core/text/Localizer.h"

namespace velmoran::OnboardingPages {

std::vector<OnboardingPage> pages() {
    return {
        {"video.fill", words().text("Know who's using your camera"),
         words().text(
             "Velmoran watches your camera, microphone and speaker. It tells you which app "
             "turned them on, and for how long.")},
        {"hand.raised.fill", words().text("Quick warning. Full control."),
         words().text("Velmoran tells you as soon as an app uses the camera or microphone. By then "
                      "the app already has access (only macOS can block it beforehand, in System "
                      "Settings), so you have two ways to react:\n\nIn the notice: trust the app, "
                      "or stop it directly.\nIn an emergency: the yellow button “Stop camera and "
                      "microphone” ends all active use immediately.")},
        {"eye.slash.fill", words().text("It never records you"),
         words().text("Velmoran notes that a device was used, by which app and when. It never "
                      "records sound, video, your screen or what you type.")},
        {"lock.fill", words().text("Everything stays on this Mac"),
         words().text("There is no account and nothing is uploaded. You can delete the history at "
                      "any time.")},
    };
}

OnboardingPage last() {
    return {"", words().text("Velmoran lives here"),
            words().text("Up in the menu bar. Click the circle any time to see what's on, or to "
                         "stop everything at once. Stopping closes the apps that are using the "
                         "camera or microphone, so unsaved work in them may be lost.")};
}

std::string openAtLogin() {
    return words().text("Open Velmoran when I log in");
}

std::string stepText(std::size_t step, std::size_t pages) {
    return words().text("Step %lld of %lld", {std::to_string(step + 1), std::to_string(pages + 1)});
}

} // namespace velmoran::OnboardingPages
