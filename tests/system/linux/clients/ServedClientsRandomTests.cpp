// Programs that say what they are beside some that lie, hand their connections on and hang up at
// any moment: nobody is named for what another says over a connection that the other still holds.
#include "tests/system/linux/clients/ClientScene.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <random>

namespace velmoran {
namespace {

constexpr pid_t firstHonest = 20;
constexpr pid_t firstLiar = 30;
constexpr pid_t firstHeir = 40;

class RandomWorld : testing::ClientWorld {
public:
    /// With `leavesLate` the server tells of a client's end after other things have happened.
    RandomWorld(unsigned seed, bool leavesLate) : seed_(seed), leavesLate_(leavesLate) {}

    /// How often somebody was named.
    int live() {
        const int before = choose(20);
        const int steps = before + choose(30);
        for (int step = 0; step < steps; ++step) {
            if (step == before) {
                isComplete_ = true;
                identity.pictureCompleted();
            }
            act();
            table.isServerAsleep = leaving_.empty();
            for (auto& [client, left] : leaving_) {
                --left;
            }
            std::erase_if(leaving_, [this](const auto& each) {
                if (each.second < 0) {
                    identity.left(each.first);
                }
                return each.second < 0;
            });
            check();
        }
        return named_;
    }

private:
    struct Speaker {
        std::uint64_t end = 0;
        pid_t pid = 0;
        bool hasOpened = false;
    };

    int choose(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }
    template <class Container>
    auto anyOf(const Container& all) {
        return *std::next(all.begin(), choose(static_cast<int>(all.size())));
    }

    void act() {
        const pid_t honest = firstHonest + choose(5);
        const pid_t liar = firstLiar + choose(3);
        const auto its = idleOf(liar);
        switch (choose(8)) {
        case 0:
            speak(table.connect(honest, testing::pulseSocket), honest, honest);
            break;
        case 1:
            silent_[table.connect(honest, testing::pulseSocket)] = honest;
            break;
        case 2:
            if (!silent_.empty()) {
                const auto [end, pid] = anyOf(silent_);
                silent_.erase(end);
                speak(end, pid, pid);
            }
            break;
        case 3:
            table.connect(liar, testing::pulseSocket);
            break;
        case 4:
            if (!its.empty()) {
                speak(anyOf(its), liar, anyOf(claims(liar)));
            }
            break;
        case 5:
            if (!table.sockets[liar].empty()) {
                const auto heir = choose(2) == 0 ? honest : firstHeir + choose(2);
                table.bequeath(anyOf(table.sockets[liar]), liar, heir, choose(2) == 0);
            }
            break;
        case 6:
            if (isComplete_ && !speakers_.empty()) {
                const auto client = anyOf(speakers_).first;
                speakers_[client].hasOpened = true;
                identity.opened(client);
            }
            break;
        default:
            if (!speakers_.empty()) {
                const auto client = anyOf(speakers_).first;
                table.hangUp(speakers_[client].end);
                speakers_.erase(client);
                leaving_[client] = leavesLate_ ? choose(4) : 0;
            }
        }
    }

    std::vector<pid_t> claims(pid_t liar) {
        return {liar, firstHonest + choose(5), firstHeir + choose(2), firstLiar + choose(3),
                testing::server};
    }
    /// What it has said nothing over.
    Ends idleOf(pid_t pid) {
        Ends idle(table.sockets[pid].begin(), table.sockets[pid].end());
        for (const auto& [client, speaker] : speakers_) {
            std::erase(idle, speaker.end);
        }
        return idle;
    }
    void speak(std::uint64_t end, pid_t pid, pid_t claim) {
        const auto client = ++lastClient_;
        speakers_[client] = {.end = end, .pid = pid, .hasOpened = false};
        isServed(client, claim, isComplete_, claim != testing::server);
    }

    void check() {
        for (const auto& [client, speaker] : speakers_) {
            const auto who = identity.who(client);
            if (!speaker.hasOpened || who.app.unidentified ||
                !table.sockets[speaker.pid].contains(speaker.end)) {
                continue;
            }
            ++named_;
            // That liars pass for each other is their own affair.
            const bool isAmongLiars =
                speaker.pid >= firstLiar && who.pid >= firstLiar && who.pid < firstHeir;
            EXPECT_TRUE(who.pid == speaker.pid || isAmongLiars)
                << who.app.name << " is named for what " << speaker.pid << " says, seed " << seed_;
        }
    }

    const unsigned seed_;
    const bool leavesLate_;
    std::mt19937 random_{seed_};
    int named_ = 0;
    bool isComplete_ = false;
    ClientKey lastClient_ = 0;
    std::map<ClientKey, Speaker> speakers_;
    std::map<std::uint64_t, pid_t> silent_; ///< of honest ones that haven't spoken yet
    std::map<ClientKey, int> leaving_;      ///< after so many steps
};

TEST(ServedClientsInRandomWorlds, BlameNobodyElse) {
    int named = 0;
    for (unsigned seed = 0; seed < 300; ++seed) {
        named += RandomWorld(seed, false).live() + RandomWorld(seed, true).live();
    }
    EXPECT_GT(named, 1000) << "else it shows nothing";
}

} // namespace
} // namespace velmoran
