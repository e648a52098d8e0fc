#include "app/contents/DetailsContent.h"

#include "core/text/DurationFormat.h"
#include "core/text/Localizer.h"

namespace velmoran {

namespace {

std::string endOf(const ActivityRow& row) {
    if (row.end) {
        return words().shortTime(*row.end);
    }
    return row.isOpen ? words().text("Still on")
                      : words().text("Not known. Velmoran wasn't running when it ended.");
}

std::vector<DetailsContent::Field> fieldsOf(const ActivityRow& row, Timestamp now) {
    std::vector<DetailsContent::Field> fields = {
        {.title = words().text("Started"), .value = words().shortTime(row.start())},
        {.title = words().text("Ended"), .value = endOf(row)},
    };
    if (const auto duration = row.duration(now)) {
        fields.push_back(
            {.title = words().text("Duration"), .value = DurationFormat::text(*duration)});
    }
    return fields;
}

std::vector<std::string> technicalOf(const AppIdentity& app) {
    std::vector<std::string> lines;
    if (app.bundleID) {
        lines.push_back(words().text("Bundle ID: %@", {*app.bundleID}));
    }
    if (app.path) {
        lines.push_back(words().text("Location: %@", {*app.path}));
    }
    if (app.teamID) {
        lines.push_back(words().text("Signed by team: %@", {*app.teamID}));
    }
    return lines;
}

} // namespace

SystemProcessContent SystemProcessContent::of(const std::string& name,
                                              const SystemProcess& process) {
    return {
        .label = words().text("Part of macOS"),
        .help = words().text("Explains what this part of macOS does"),
        .heading = words().text("%@ is part of macOS", {name}),
        .explanation = process.explanation,
        .assurance =
            words().text("Velmoran checked that Apple signed it and that it sits in a protected "
                         "system folder. A program that only uses this name would not get this "
                         "note."),
    };
}

DetailsContent DetailsContent::of(const ActivityRow& row,
                                  const std::optional<SystemProcess>& process,
                                  const TrustList& trust, Timestamp now) {
    DetailsContent content{
        .app = row.app(),
        .trust = TrustChoice::of(row, trust),
        .connections = ConnectionsContent::of(row),
        .technical = technicalOf(row.app()),
    };
    if (process) {
        content.systemProcess = SystemProcessContent::of(row.app().name, *process);
    } else {
        content.fields = fieldsOf(row, now);
    }
    return content;
}

std::string DetailsContent::technicalHeading() {
    return words().text("Technical details");
}

std::string DetailsContent::vanished() {
    return words().text("This entry is no longer in History.");
}

} // namespace velmoran
