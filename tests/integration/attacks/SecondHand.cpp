#include "integration/attacks/SecondHand.h"

#include <algorithm>
#include <utility>

namespace velmoran::attacks {

namespace {

using Clock = std::chrono::steady_clock;

Bound between(Clock::time_point begin, Clock::time_point end) {
    return std::chrono::duration_cast<Bound>(end - begin);
}

} // namespace

Listener::Listener(Scene& scene, std::string name, const std::string& source,
                   const std::vector<std::string>& options)
    : name_(std::move(name)),
      heard_(scene.session().file(name_ + ".raw")) {
    scene.session().need({"pacat"});
    const auto program = scene.session().home() / name_;
    if (!std::filesystem::exists(program)) {
        std::filesystem::copy_file("/usr/bin/pacat", program);
    }
    std::vector<std::string> command = {program, "--record", "--raw", "--latency-msec=20",
                                        "--device=" + source};
    command.insert(command.end(), options.begin(), options.end());
    command.push_back(heard_);
    scene.session().start(name_, command);
}

bool Listener::hears() const {
    return std::ranges::any_of(support::readFile(heard_), [](char byte) { return byte != '\0'; });
}

Verdict verdictOnListenerAt(Scene& scene, const std::string& source) {
    const auto begun = Clock::now();
    const Listener listener(scene, "listener", source);
    std::optional<Clock::time_point> heard;
    std::optional<Clock::time_point> told;
    const auto both = [&] {
        if (!heard && listener.hears()) {
            heard = Clock::now();
        }
        if (!told && scene.tellsStart(listener.name(), 0ms)) {
            told = Clock::now();
        }
        return heard && (told || Clock::now() > *heard + within(1s));
    };
    if (!waitUntil(both)) {
        throw std::runtime_error("the listener hears nothing");
    }
    if (!told) {
        return fell("the listener wasn't told within a second of its first sound");
    }
    return held("the listener was told after " + text(between(begun, *told)) +
                ", and heard its first sound after " + text(between(begun, *heard)));
}

ChildProcess& runModule(Scene& scene, const std::string& module, const std::string& arguments) {
    const auto configuration = scene.session().file(module + ".conf");
    support::writeFile(configuration, R"(context.spa-libs = {
    audio.convert.* = audioconvert/libspa-audioconvert
    support.* = support/libspa-support
}
context.modules = [
    { name = libpipewire-module-protocol-native }
    { name = libpipewire-module-client-node }
    { name = libpipewire-module-adapter }
    { name = libpipewire-module-)" + module +
                                          " args = {\n" + arguments + "\n} }\n]\n");
    return scene.session().start(module, {"pipewire", "-c", configuration.string()});
}

std::string loadModule(Scene& scene, std::vector<std::string> moduleAndArguments) {
    moduleAndArguments.insert(moduleAndArguments.begin(), {"pactl", "load-module"});
    const auto loaded = scene.session().run(moduleAndArguments, within(5s));
    // With more patience one hears that the server gave up.
    if (loaded.errors.find("Timeout") != std::string::npos ||
        !scene.session().run({"pactl", "info"}, 3s).succeeded()) {
        throw NotTried("the sound server hangs when it is told to load " + moduleAndArguments[2]);
    }
    if (!loaded.succeeded()) {
        throw std::runtime_error("the module can't be loaded: " + loaded.errors);
    }
    return loaded.output.substr(0, loaded.output.find('\n'));
}

std::string loopbackEnd(const std::string& node, const std::string& group) {
    return "{ target.object = " + node + " node.target = " + node + " node.link-group = " + group +
           " }";
}

void awaitSource(Scene& scene, const std::string& name) {
    if (!waitUntil([&] {
            return scene.session().run({"pactl", "list", "short", "sources"}).output.find(name) !=
                   std::string::npos;
        })) {
        throw std::runtime_error("there is no source " + name);
    }
}

} // namespace velmoran::attacks
