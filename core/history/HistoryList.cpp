#include "core/history/HistoryList.h"

#include "core/history/HistoryFailure.h"
#include "core/history/SessionRecord.h"
#include "core/history/SessionTable.h"

#include <SQLiteCpp/Exception.h>
#include <memory>
#include <utility>

namespace velmoran {

void HistoryList::read(SessionTable* table, const PendingDeletion& deletion,
                       PendingSessions& pending) {
    if (isRead_ || isDamaged_) {
        return;
    }
    view_ = {};
    std::vector<HistoryView::Entry> entries;
    try {
        if (table) {
            entries = table->readAll();
        }
    } catch (const SQLite::Exception& error) {
        isDamaged_ = isDamage(error); // reading it all again at each event wouldn't help
        return;
    }
    if (deletion.waits()) {
        std::erase_if(entries, [&](const HistoryView::Entry& each) {
            return deletion.takes(each.place.start);
        });
    }
    for (auto& each : pending) {
        each.shown.reset();
        each.isShownAsItIs = false;
    }
    if (!pending.empty()) {
        std::erase_if(entries, [&](const HistoryView::Entry& each) {
            auto* waiting = pending.find(each.session->id);
            if (waiting) {
                waiting->shown = HistoryView::Place{waiting->session.start, each.place.row};
            }
            return waiting != nullptr;
        });
    }
    view_ = HistoryView::sorted(std::move(entries));
    isRead_ = true;
    show(pending);
}

void HistoryList::restart() {
    view_ = {};
    readAgain();
}

void HistoryList::clear() {
    view_ = {};
    isRead_ = true;
    isDamaged_ = false;
}

void HistoryList::removeStartsBefore(Timestamp moment) {
    view_ = view_.withoutStartsBefore(moment);
    isDamaged_ = false;
}

void HistoryList::remove(const std::vector<HistoryView::Place>& places) {
    for (const auto& place : places) {
        view_ = view_.without(place);
    }
}

void HistoryList::moveToFile(Written written, PendingSessions& pending) {
    const auto shown = written.pending->shown;
    pending.erase(written.pending);
    isRead_ &= written.isKnown;
    if (!isRead_) {
        return;
    }
    if (shown) {
        view_ = view_.without(*shown);
    }
    if (written.old && written.old->start != written.entry.place.start) {
        view_ = view_.without(*written.old);
    }
    view_ = view_.with(std::move(written.entry));
}

void HistoryList::show(PendingSessions& pending) {
    if (!isRead_) {
        return;
    }
    for (auto& each : pending) {
        if (each.isShownAsItIs) {
            continue;
        }
        const auto& session = each.session;
        const auto old = each.shown ? each.shown : view_.placeOf(session.id, session.start);
        if (old) {
            view_ = view_.without(*old);
        }
        each.shown = {session.start, old ? old->row : nextPendingRow_++};
        view_ =
            view_.with({*each.shown,
                        std::make_shared<const UsageSession>(asStored(session, each.connections))});
        each.isShownAsItIs = true;
    }
}

} // namespace velmoran
