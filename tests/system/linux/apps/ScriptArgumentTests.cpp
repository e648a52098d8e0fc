#include "system/linux/apps/ScriptArgument.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using Arguments = std::vector<std::string>;

struct Call {
    std::string program;
    Arguments arguments; ///< behind the program's name
    std::optional<std::string> script;
};

TEST(ScriptArgument, KnowsInterpretersByTheirNames) {
    for (const char* name : {"/usr/bin/python3",
                             "/usr/bin/python3.11",
                             "pypy3",
                             "node",
                             "nodejs",
                             "perl5.36.0",
                             "ruby3.1",
                             "/bin/sh",
                             "bash",
                             "dash",
                             "zsh",
                             "java",
                             "wine64-preloader",
                             "gjs-console",
                             "electron27",
                             "php8.2",
                             "lua5.4",
                             "mono-sgen",
                             "dotnet",
                             "busybox",
                             "/usr/lib/x86_64-linux-gnu/ld-linux-x86-64.so.2",
                             "ld-musl-x86_64.so.1",
                             "ld-2.31.so",
                             "ld.so",
                             "/usr/bin/pipewire"}) {
        EXPECT_TRUE(isInterpreter(name)) << name;
    }
    for (const char* name : {"pythonista", "firefox", "noded", "shotwell", "javaws-viewer", "", "3",
                             "ldd", "ld", "ld.gold", "/usr/lib/python3/dist-packages/tool"}) {
        EXPECT_FALSE(isInterpreter(name)) << name;
    }
    EXPECT_TRUE(isLauncher("/usr/bin/env"));
    EXPECT_FALSE(isLauncher("/usr/bin/envelope"));
}

TEST(ScriptArgument, FindsTheScriptBehindTheOptions) {
    const std::vector<Call> calls{
        {"python3", {"tool.py", "--x"}, "tool.py"},
        {"python3", {"-u", "-W", "ignore", "-Xdev", "-B", "tool.py"}, "tool.py"},
        {"python3.11", {"--check-hash-based-pycs", "always", "tool.py"}, "tool.py"},
        {"python3", {"-BW", "ignore", "tool.py"}, "tool.py"},
        {"python3", {"--", "-odd.py"}, "-odd.py"},
        {"perl", {"-w", "-I", "lib", "-MFoo", "tool.pl"}, "tool.pl"},
        {"ruby", {"-rjson", "-I", "lib", "--encoding", "utf-8", "tool.rb"}, "tool.rb"},
        {"node", {"--inspect", "-r", "ts-node/register", "--import=x", "app.js"}, "app.js"},
        {"node", {"--require", "x", "app.js"}, "app.js"},
        {"deno", {"run", "-A", "app.ts"}, "app.ts"},
        {"pipewire", {"-c", "own.conf"}, "own.conf"},
        {"pipewire", {"--version", "--config", "/own.conf"}, "/own.conf"},
        {"pipewire-pulse", {"--config=own.conf"}, "own.conf"},
        {"pipewire", {"-cown.conf"}, "own.conf"},
        {"bash", {"-e", "-o", "pipefail", "+x", "--rcfile", "rc", "tool.sh"}, "tool.sh"},
        {"sh", {"-eu", "/usr/bin/tool", "-c"}, "/usr/bin/tool"},
        {"php", {"-d", "a=b", "-f", "tool.php"}, "tool.php"},
        {"lua5.4", {"-l", "lib", "tool.lua"}, "tool.lua"},
        {"gjs", {"-I", "dir", "tool.js"}, "tool.js"},
        {"java", {"-Xmx1g", "-cp", "a.jar", "-jar", "/opt/x/app.jar", "run"}, "/opt/x/app.jar"},
        {"java", {"Tool.java"}, "Tool.java"},
        {"electron27", {"--no-sandbox", "/usr/lib/code/out/cli.js"}, "/usr/lib/code/out/cli.js"},
        {"wine64",
         {"C:\\Program Files\\Zoom\\Zoom.EXE", "/x"},
         "C:\\Program Files\\Zoom\\Zoom.EXE"},
        {"mono", {"--debug", "/opt/x/App.exe"}, "/opt/x/App.exe"},
        {"dotnet", {"exec", "app.dll"}, "app.dll"},
        {"ld-linux-x86-64.so.2",
         {"--library-path", "/a", "--inhibit-cache", "/opt/x", "/y"},
         "/opt/x"},
        {"ld.so", {"./tool"}, "./tool"}};
    for (const auto& call : calls) {
        Arguments all{call.program};
        all.insert(all.end(), call.arguments.begin(), call.arguments.end());
        EXPECT_EQ(scriptArgument(call.program, all), call.script)
            << call.program << ' ' << call.arguments.front();
    }
}

TEST(ScriptArgument, GivesNothingForCodeFromElsewhere) {
    const std::vector<Call> calls{{"python3", {}, {}},
                                  {"python3", {"-"}, {}},
                                  {"python3", {"-c", "import x", "tool.py"}, {}},
                                  {"python3", {"-Bc", "import x", "tool.py"}, {}},
                                  {"python3", {"-m", "http.server"}, {}},
                                  {"python3", {"-mhttp.server"}, {}},
                                  {"python3", {"-W"}, {}},
                                  {"perl", {"-lne", "print", "file"}, {}},
                                  {"ruby", {"-e", "x"}, {}},
                                  {"node", {"-e", "x", "app.js"}, {}},
                                  {"node", {"-pe", "x"}, {}},
                                  {"node", {"--eval=x", "app.js"}, {}},
                                  {"bash", {"-c", "parecord", "name"}, {}},
                                  {"bash", {"-lc", "parecord"}, {}},
                                  {"sh", {"-s", "file"}, {}},
                                  {"sh", {""}, {}},
                                  {"java", {"-cp", "a.jar", "com.example.Main", "x.java"}, {}},
                                  {"java", {"-m", "mod/com.example.Main"}, {}},
                                  {"java", {"-jar"}, {}},
                                  {"electron", {"--type=zygote", "x"}, {}},
                                  {"wine", {"notepad"}, {}},
                                  {"ld.so", {"--list"}, {}},
                                  {"ld.so", {"tool"}, {}},
                                  {"ld.so", {"--argv0", "/opt/x"}, {}},
                                  {"firefox", {"page.html"}, {}}};
    for (const auto& call : calls) {
        Arguments all{call.program};
        all.insert(all.end(), call.arguments.begin(), call.arguments.end());
        EXPECT_EQ(scriptArgument(call.program, all), std::nullopt)
            << call.program << ' ' << (call.arguments.empty() ? "" : call.arguments.front());
    }
    EXPECT_EQ(scriptArgument("python3", {}), std::nullopt);
}

} // namespace
} // namespace velmoran
