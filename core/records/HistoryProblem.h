// Why the history isn't being saved right now. A plain value; any thread.
#pragma once

#include "core/base/Fields.h"
#include "core/records/RawValue.h"

#include <array>
#include <string>
#include <string_view>

namespace velmoran {

struct HistoryProblem {
    enum class Kind {
        notOpened,  ///< its file could not be opened
        notWritten, ///< the file is open, and the last write to it failed
    };

    Kind kind = Kind::notWritten;
    std::string reason; ///< the system's, as it words it; may be empty

    bool operator==(const HistoryProblem&) const = default;
};

constexpr std::array<std::string_view, 2> caseNames(HistoryProblem::Kind) {
    return {"notOpened", "notWritten"};
}

void visitFields(MaybeConst<HistoryProblem> auto& problem, auto visit) {
    visit("kind", problem.kind);
    visit("reason", problem.reason);
}

} // namespace velmoran
