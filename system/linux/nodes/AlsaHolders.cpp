#include "system/linux/nodes/AlsaHolders.h"

#include "system/TextParsing.h"
#include "system/linux/kernel/Files.h"
#include "system/linux/nodes/NodeHolders.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>
#include <utility>

#include <unistd.h>

namespace velmoran {

namespace {

// From one check of an open node to the next; the last one again and again. Just the status files
// of open substreams are read.
constexpr std::array<Seconds, 8> readDelays{0.010, 0.015, 0.025, 0.050, 0.100, 0.200, 0.300, 0.500};

// The same while the kernel has no watch left, when nothing tells of an open.
constexpr Seconds unwatchedDelay = 0.100;

std::string statusFolder(const std::string& procRoot, const AlsaNode& node) {
    return procRoot + "/asound/card" + std::to_string(node.card) + "/pcm" +
           std::to_string(node.device) + (node.isCapture ? 'c' : 'p');
}

bool isAlsaNode(std::string_view name) {
    return parseAlsaNode(name).card >= 0;
}

// The process of a thread; 0 if there is none to be seen.
pid_t processOf(const std::string& procRoot, std::int32_t thread) {
    const auto text =
        readFileUpTo(procRoot + '/' + std::to_string(thread) + "/status", 4096).value_or("");
    pid_t process = 0;
    eachPiece(text, '\n', [&](std::string_view line) {
        if (consumePrefix(line, "Tgid:\t")) {
            process = consumeNumber<pid_t>(line).value_or(0);
        }
    });
    return process;
}

} // namespace

AlsaHolders::AlsaHolders(EventLoop& loop, ProcessNaming& naming,
                         std::function<bool(pid_t)> servesOthers, Places places)
    : loop_(loop),
      naming_(naming),
      servesOthers_(std::move(servesOthers)),
      places_(std::move(places)),
      watch_(loop, places_.deviceFolder, isAlsaNode,
             {[this] { readFolder(); },
              [this](const std::vector<NodeEvents>&) {
                  step_ = 0;
                  readStatuses();
              },
              [this] {
                  readFolder();
              }}) {
    readFolder();
}

AlsaHolders::~AlsaHolders() {
    for (const auto& process : processes_) {
        naming_.unpin(process.objectID);
    }
}

void AlsaHolders::readFolder() {
    nodes_.clear();
    for (const auto& name : sortedNamesIn(places_.deviceFolder)) {
        if (isAlsaNode(name)) {
            nodes_.push_back(places_.deviceFolder + '/' + name);
        }
    }
    // Watched before they are read: no open can fall between the two. One that can't be watched for
    // want of a right this user's programs can't open either.
    watch_.watchNodes(nodes_);
    step_ = 0;
    readStatuses();
}

AlsaHolders::Owner AlsaHolders::ownerOf(const std::string& node, const AlsaStatus& status) {
    Owner owner;
    if (status.ownerPid > 0) {
        owner.pid = processOf(places_.procRoot, status.ownerPid);
    }
    if (owner.pid == 0) {
        // The thread that opened it has ended, or isn't in sight: perhaps a descriptor tells.
        if (const auto device = deviceNodeAt(node)) {
            const auto holders = NodeHolders(places_.procRoot, ::getpid()).of({*device});
            if (holders.front().size() == 1) {
                owner.pid = holders.front().front().pid;
            }
        }
    }
    // The one sound that this program makes is no use that anybody should be told of.
    owner.serves = owner.pid == ::getpid() || (owner.pid != 0 && servesOthers_(owner.pid));
    return owner;
}

void AlsaHolders::readStatuses() {
    std::map<std::string, std::pair<std::int32_t, Owner>> owners;
    std::vector<AudioProcess> processes;
    bool held = false;
    for (const auto& path : nodes_) {
        const auto node = parseAlsaNode(fileName(path));
        const auto folder = statusFolder(places_.procRoot, node);
        for (const auto& name : sortedNamesIn(folder)) {
            if (!name.starts_with("sub")) {
                continue;
            }
            const auto substream = folder + '/' + name;
            const auto status =
                parseAlsaStatus(readFileUpTo(substream + "/status", 4096).value_or(""));
            if (!status.isOpen) {
                continue;
            }
            const auto known = owners_.find(substream);
            const auto owner = known != owners_.end() && known->second.first == status.ownerPid
                                   ? known->second.second
                                   : ownerOf(path, status);
            owners[substream] = {status.ownerPid, owner};
            if (owner.serves) {
                continue;
            }
            held = true;
            auto process = std::find_if(processes.begin(), processes.end(),
                                        [&](const auto& other) { return other.pid == owner.pid; });
            if (process == processes.end()) {
                processes.emplace_back();
                process = std::prev(processes.end());
                process->pid = owner.pid;
            }
            process->isRunningInput |= node.isCapture && status.isRunning;
            process->isRunningOutput |= !node.isCapture && status.isRunning;
        }
    }
    owners_ = std::move(owners);
    update(std::move(processes));
    const bool isUnwatched = watch_.isShortOfWatches();
    if (!held && !isUnwatched) {
        nextCheck_.reset();
    } else if (!nextCheck_ || step_ == 0) {
        const auto delay = readDelays.at(step_);
        nextCheck_ = loop_.after(isUnwatched ? std::min(delay, unwatchedDelay) : delay, [this] {
            nextCheck_.reset();
            step_ = std::min(step_ + 1, readDelays.size() - 1);
            readStatuses();
        });
    }
}

// Keeps those that were there in their order and under their object ids, and names the new ones.
void AlsaHolders::update(std::vector<AudioProcess> found) {
    std::vector<AudioProcess> processes;
    for (const auto& old : processes_) {
        const auto same = std::find_if(found.begin(), found.end(),
                                       [&](const auto& other) { return other.pid == old.pid; });
        if (same == found.end()) {
            naming_.unpin(old.objectID);
            continue;
        }
        same->objectID = old.objectID;
        processes.push_back(*same);
        found.erase(same);
    }
    for (auto& process : found) {
        process.objectID = ++lastObjectID_;
        naming_.pin(process.objectID,
                    process.pid != 0
                        ? naming_.identify(process.pid)
                        : naming_.unidentified("alsa-" + std::to_string(process.objectID)));
        processes.push_back(process);
    }
    if (processes != processes_) {
        processes_ = std::move(processes);
        if (onChange_) {
            onChange_();
        }
    }
}

} // namespace velmoran
