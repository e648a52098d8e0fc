#include "app/web/UpdateCheck.h"

#include "app/web/VersionFile.h"
#include "core/base/AppVersion.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <cmath>
#include <utility>
#include <vector>

namespace velmoran {

namespace {

constexpr double millisecondsPerSecond = 1000.0;

UpdateCheck::Result resultOf(const QByteArray& file, const std::string& running) {
    using Kind = UpdateCheck::Result::Kind;
    const auto found = newestVersion(file.toStdString());
    if (!found) {
        return {Kind::failed};
    }
    if (AppVersion::isNewer(*found, running)) {
        return {Kind::newer, *found};
    }
    return {Kind::upToDate};
}

/// Processes that were killed and haven't gone yet. Nobody waits for them: even a program that is
/// killed can hang on in the system, and whoever destroys a process of Qt's waits half a minute for
/// it. So what is left here when this program ends stays as it is.
std::vector<QProcess*>& dying() {
    static auto* processes = new std::vector<QProcess*>;
    return *processes;
}

/// Its end is heard of by nobody else.
void end(std::unique_ptr<QProcess> process) {
    auto* last = process.release();
    last->disconnect();
    if (last->state() == QProcess::NotRunning) {
        // The signal that brought this may be its own.
        last->deleteLater();
        return;
    }
    dying().push_back(last);
    QObject::connect(last, &QProcess::stateChanged, last, [last](QProcess::ProcessState state) {
        if (state == QProcess::NotRunning) {
            std::erase(dying(), last);
            last->deleteLater();
        }
    });
    last->kill();
}

} // namespace

UpdateCheck::UpdateCheck(Facts facts) : facts_(std::move(facts)) {
    deadline_.setSingleShot(true);
    deadline_.callOnTimeout([this] { finish(false); });
}

UpdateCheck::~UpdateCheck() {
    if (process_) {
        end(std::move(process_));
    }
}

void UpdateCheck::check(Done done) {
    if (process_) {
        return;
    }
    done_ = std::move(done);
    process_ = std::make_unique<QProcess>();
    process_->setStandardInputFile(QProcess::nullDevice());
    process_->setStandardErrorFile(QProcess::nullDevice());
    QObject::connect(process_.get(), &QProcess::finished, process_.get(),
                     [this](int code, QProcess::ExitStatus status) {
                         finish(status == QProcess::NormalExit && code == 0);
                     });
    QObject::connect(process_.get(), &QProcess::errorOccurred, process_.get(),
                     [this](QProcess::ProcessError error) {
                         if (error == QProcess::FailedToStart) {
                             // Not here: `start` may not have returned yet.
                             deadline_.start(0);
                         }
                     });
    deadline_.start(static_cast<int>(std::lround(facts_.within * millisecondsPerSecond)));
    process_->start(facts_.program, {QString::fromStdString(facts_.address)});
}

void UpdateCheck::finish(bool fetched) {
    const auto file = fetched ? process_->readAllStandardOutput() : QByteArray();
    end(std::move(process_));
    deadline_.stop();
    const auto done = std::exchange(done_, nullptr);
    done(fetched ? resultOf(file, facts_.running) : Result());
}

QString UpdateCheck::fetchProgram() {
    const QDir here(QCoreApplication::applicationDirPath());
    const auto beside = here.filePath(QStringLiteral("velmoran-fetch"));
    return QFileInfo::exists(beside)
               ? beside
               : QDir::cleanPath(here.filePath(QStringLiteral(VELMORAN_FETCH_INSTALLED)));
}

} // namespace velmoran
