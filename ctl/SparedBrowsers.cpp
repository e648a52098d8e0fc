#include "ctl/SparedBrowsers.h"

#include "core/text/Localizer.h"

#include <utility>

namespace velmoran {

void SparedBrowsers::answer(const BrowserQuestion& question,
                            const std::function<void(BrowserAnswer)>& answer) {
    names_.insert(names_.end(), question.browsers.begin(), question.browsers.end());
    answer(question.keepOffered ? BrowserAnswer::keep : BrowserAnswer::cancel);
}

std::string SparedBrowsers::popSentence() {
    const auto names = std::exchange(names_, {});
    if (names.empty()) {
        return {};
    }
    return names.size() == 1
               ? words().text("%@ stays open: it is a browser, and nobody can be asked here "
                              "whether to close it.",
                              {words().list(names)})
               : words().text("%@ stay open: they are browsers, and nobody can be asked here "
                              "whether to close them.",
                              {words().list(names)});
}

} // namespace velmoran
