// Whether there is a newer version, by one small file on the maker's web server. It is asked only
// when somebody calls `check`, and nothing is stored of the answer. The asking itself is done by a
// program of its own, velmoran-fetch, which ends with its answer: what it takes to speak to a
// server, a mebibyte at least, is then in nobody's way who never asks. Owned by whoever shows the
// result; main thread.
#pragma once

#include "core/base/Timestamp.h"

#include <QString>
#include <QTimer>
#include <functional>
#include <memory>
#include <string>

class QProcess;

namespace velmoran {

class UpdateCheck {
public:
    struct Result {
        enum class Kind { newer, upToDate, failed };

        Kind kind = Kind::failed;
        std::string version = {}; ///< what was found, if it is newer

        bool operator==(const Result&) const = default;
    };
    using Done = std::function<void(const Result&)>;

    struct Facts {
        std::string address; ///< of the version file
        std::string running; ///< the version of this program
        QString program = fetchProgram();
        Seconds within = patience; ///< for all of it together
    };

    explicit UpdateCheck(Facts facts);
    /// No answer comes any more.
    ~UpdateCheck();
    UpdateCheck(const UpdateCheck&) = delete;
    UpdateCheck& operator=(const UpdateCheck&) = delete;

    /// Calls `done` once, later. While a check is under way another one does nothing.
    void check(Done done);
    bool isChecking() const { return process_ != nullptr; }

    /// Beside this program, where it is built, or where it is installed.
    static QString fetchProgram();

    static constexpr Seconds patience = 15.0;

private:
    void finish(bool fetched);

    Facts facts_;
    Done done_;
    QTimer deadline_;
    std::unique_ptr<QProcess> process_; ///< null while nobody asks
};

} // namespace velmoran
