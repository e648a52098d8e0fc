#include "integration/attacks/Attack.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace velmoran::attacks {

namespace {

constexpr int statusHeld = 0;
constexpr int statusFell = 1;
constexpr int statusBrokeOff = 2;
constexpr int statusNotTried = 77;

std::string namedOr(const char* variable, const char* built) {
    const char* value = std::getenv(variable); // NOLINT(concurrency-mt-unsafe)
    return value != nullptr && *value != '\0' ? value : built;
}

int say(const char* how, std::string seen, int status) {
    std::ranges::replace(seen, '\n', ' ');
    std::printf("%s: %s\n", how, seen.c_str());
    return status;
}

int run(const KnownAttack& known, bool isSlow) {
    std::optional<Scene> made;
    try {
        auto& scene = made.emplace(isSlow);
        const auto verdict = known.attack(scene);
        if (verdict.hasHeld) {
            return say("held", verdict.seen, statusHeld);
        }
        std::fprintf(stderr, "%s%s", scene.told().c_str(), scene.session().logs().c_str());
        return say("fell", verdict.seen, statusFell);
    } catch (const NotTried& reason) {
        return say("not tried", reason.what(), statusNotTried);
    } catch (const support::NotInstalled& reason) {
        return say("not tried", reason.what(), statusNotTried);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s", made ? made->session().logs().c_str() : "");
        return say("broke off", failure.what(), statusBrokeOff);
    }
}

} // namespace

Bound within(Bound bound) {
    return SLOWNESS * bound;
}

Verdict held(std::string seen) {
    return {.hasHeld = true, .seen = std::move(seen)};
}

Verdict fell(std::string seen) {
    return {.hasHeld = false, .seen = std::move(seen)};
}

std::string velmoran() {
    return namedOr("VELMORAN", VELMORAN);
}

std::string velmoranctl() {
    return namedOr("VELMORANCTL", VELMORANCTL);
}

std::string holdNode() {
    return namedOr("HOLD_NODE", HOLD_NODE);
}

std::string floodBus() {
    return namedOr("FLOOD_BUS", FLOOD_BUS);
}

std::string clientProgram(const std::string& name) {
    return namedOr("CLIENT_PROGRAMS", CLIENT_PROGRAMS) + "/" + name;
}

Scene::Scene(bool isSlow) : isSlow_(isSlow) {
    std::filesystem::create_directories(session_.file("dev"));
}

void Scene::startSound() {
    session_.startSound();
    session_.addMicrophone();
    session_.enter();
}

ChildProcess& Scene::startWatch(const std::vector<std::string>& options) {
    std::vector<std::string> command = {velmoranctl(), "watch", "--device-folder",
                                        session_.file("dev").string()};
    command.insert(command.end(), options.begin(), options.end());
    auto& watch = session_.start("watch", command);
    if (!waitUntil([&] { return !watch.running() || ctl({"status"}).succeeded(); }) ||
        !watch.running()) {
        throw std::runtime_error("the watch didn't come up");
    }
    return watch;
}

support::Finished Scene::ctl(std::vector<std::string> arguments, Bound bound) {
    arguments.insert(arguments.begin(), velmoranctl());
    return session_.run(arguments, bound);
}

std::string Scene::program(const std::string& name, const std::string& client) {
    const auto copy = session_.home() / name;
    if (!std::filesystem::exists(copy)) {
        std::filesystem::copy_file(clientProgram(client), copy);
    }
    return copy;
}

ChildProcess& Scene::record(const std::string& name, const std::vector<std::string>& options) {
    std::vector<std::string> command = {program(name)};
    command.insert(command.end(), options.begin(), options.end());
    return session_.start(name, command);
}

std::string Scene::told() {
    const auto* watch = session_.child("watch");
    return watch != nullptr ? watch->output() : std::string();
}

bool Scene::hasTold(const std::vector<std::string>& texts) {
    std::istringstream lines(told());
    for (std::string line; std::getline(lines, line);) {
        std::size_t at = 0;
        if (std::ranges::all_of(texts, [&](const std::string& part) {
                const auto found = line.find(part, at);
                at = found == std::string::npos ? at : found + part.size();
                return found != std::string::npos;
            })) {
            return true;
        }
    }
    return false;
}

bool Scene::tells(const std::vector<std::string>& texts, Bound bound) {
    return waitUntil([&] { return hasTold(texts); }, bound);
}

bool Scene::tellsStart(const std::string& app, Bound bound, const std::string& device) {
    return waitUntil(
        [&] {
            return hasTold({app, "turned on " + device}) ||
                   hasTold({app, "was already using " + device});
        },
        bound);
}

bool Scene::tellsEnd(const std::string& app, Bound bound, const std::string& device) {
    return tells({app, "turned off " + device}, bound);
}

std::optional<Bound> Scene::recordUntilTold(const std::string& name, Bound bound) {
    const auto begun = std::chrono::steady_clock::now();
    record(name);
    if (!tellsStart(name, bound)) {
        return std::nullopt;
    }
    return std::chrono::duration_cast<Bound>(std::chrono::steady_clock::now() - begun);
}

long residentKiB(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/statm");
    long size = 0;
    long resident = 0;
    file >> size >> resident;
    return file ? resident * (sysconf(_SC_PAGESIZE) / 1024) : 0;
}

std::string text(Bound time) {
    return std::to_string(time.count()) + " ms";
}

} // namespace velmoran::attacks

int main(int count, char** arguments) {
    using velmoran::attacks::allAttacks;
    const auto name = std::filesystem::path(arguments[0]).filename().string();
    const auto known = std::ranges::find(allAttacks, name, &velmoran::attacks::KnownAttack::name);
    const bool isSlow = count == 2 && std::string_view(arguments[1]) == "--slow";
    if (known == allAttacks.end() || (count > 1 && !isSlow)) {
        std::fprintf(stderr,
                     "usage: NAME [--slow]; this program is called by the name of an attack\n");
        return count > 1 && std::strcmp(arguments[1], "--help") == 0 ? 0 : 2;
    }
    return velmoran::attacks::run(*known, isSlow);
}
