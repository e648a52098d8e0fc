#include "system/linux/pipewire/CountedUses.h"

#include <algorithm>
#include <utility>

namespace velmoran {

CountedUses::CountedUses(Scheduler& scheduler, const Clock& clock, Times times,
                         std::function<void()> changed)
    : scheduler_(scheduler),
      times_(times),
      changed_(changed),
      confirmation_(scheduler, clock, times.confirmation, std::move(changed)) {}

std::vector<GraphPicture::Process>
CountedUses::tellable(std::vector<User> users, const std::function<bool(GraphSerial)>& isThere) {
    keepWaiting(users);
    std::vector<GraphPicture::Process> told;
    const auto before = std::exchange(parts_, {});
    confirmation_.begin();
    for (auto& user : users) {
        const auto asItIs = user.entry.process;
        for (const bool isInput : {true, false}) {
            auto& process = user.entry.process;
            if (!(isInput ? asItIs.isRunningInput : asItIs.isRunningOutput)) {
                continue;
            }
            const UseConfirmation::Use use{user.client, isInput};
            (isInput ? process.isRunningInput : process.isRunningOutput) =
                confirmation_.counts(use, user.app, user.isSure);
            if (!user.isSure) {
                auto& part = parts_[use] = {user.entry, user.node};
                part.entry.process.isRunningInput = isInput;
                part.entry.process.isRunningOutput = !isInput;
            }
        }
        if (user.entry.process.isRunningInput || user.entry.process.isRunningOutput) {
            told.push_back(std::move(user.entry));
        }
    }
    for (const auto& [use, hadCounted] : confirmation_.end()) {
        const auto known = before.find(use);
        if (known == before.end()) {
            continue;
        }
        if (hadCounted) {
            showBriefly(use, known->second.entry);
        } else {
            leaving_[use] = {known->second, scheduler_.after(times_.brief, [this, which = use] {
                                 leaving_.erase(which);
                             })};
        }
    }
    std::erase_if(leaving_, [&](const auto& each) {
        const auto& [use, part] = each;
        const bool isGone = !isThere(part.what.node);
        if (isGone) {
            showBriefly(use, part.what.entry);
        }
        return isGone;
    });
    for (const auto& [use, brief] : brief_) {
        if (std::find(told.begin(), told.end(), brief.what) == told.end()) {
            told.push_back(brief.what);
        }
    }
    return told;
}

void CountedUses::keepWaiting(std::vector<User>& users) {
    auto before = std::exchange(waiting_, {});
    std::erase_if(users, [&](User& user) {
        const auto known = before.extract(user.client);
        user.isSure = user.isSure || (known && known.mapped().isSure);
        if (user.isUndecided) {
            waiting_[user.client] = {std::move(user.entry), user.isSure};
        }
        return user.isUndecided;
    });
    for (const auto& [client, gone] : before) {
        showBriefly({client, gone.entry.process.isRunningInput}, gone.entry);
    }
}

void CountedUses::showBriefly(const UseConfirmation::Use& use, const GraphPicture::Process& entry) {
    brief_[use] = {entry, scheduler_.after(times_.brief, [this, use] {
                       brief_.erase(use);
                       changed_();
                   })};
}

void CountedUses::clear() {
    waiting_.clear();
    parts_.clear();
    leaving_.clear();
}

void CountedUses::forgetServer() {
    clear();
    confirmation_.clear();
    brief_.clear();
}

void CountedUses::stop() {
    forgetServer();
    confirmation_.stop();
}

} // namespace velmoran
