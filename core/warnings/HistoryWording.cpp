#include "core/warnings/HistoryWording.h"

#include "core/text/Localizer.h"

namespace velmoran::HistoryWording {

std::string sentence(const HistoryProblem& problem) {
    const auto sentence =
        problem.kind == HistoryProblem::Kind::notOpened
            ? words().text("History can't be saved right now. Velmoran couldn't open its file on "
                           "this Mac.")
            : words().text("History can't be saved right now. Its file couldn't be written.");
    return problem.reason.empty() ? sentence : sentence + " (" + problem.reason + ")";
}

} // namespace velmoran::HistoryWording
