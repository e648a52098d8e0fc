#include "app/shell/login/UserUnit.h"
#include "support/TemporaryDirectory.h"
#include "system/bus/BusHandles.h"

#include <array>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <mutex>
#include <poll.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace velmoran {
namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The user's systemd, as far as it is asked, for one connection.
class FakeManager {
public:
    struct Manner {
        std::string loadState = "loaded";
        std::string fragment = {};
        std::string activeState = "inactive";
        std::string result = "done";
        bool knowsUnit = true;
        bool isSilent = false; ///< from the first question on
    };

    FakeManager(const fs::path& runtimeFolder, Manner manner) : manner_(std::move(manner)) {
        fs::create_directories(runtimeFolder / "systemd");
        const auto path = (runtimeFolder / "systemd/private").string();
        socket_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(&address.sun_path[0], sizeof address.sun_path - 1);
        EXPECT_EQ(::bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(socket_, 1), 0);
        EXPECT_EQ(::pipe2(ending_.data(), O_CLOEXEC), 0);
        thread_ = std::thread([this] { serve(); });
    }
    ~FakeManager() {
        ::close(ending_[1]);
        thread_.join();
        ::close(ending_[0]);
        ::close(socket_);
    }
    FakeManager(const FakeManager&) = delete;
    FakeManager& operator=(const FakeManager&) = delete;

    /// After what is tested has hung up.
    std::vector<std::string> asked() {
        std::lock_guard lock(mutex_);
        return asked_;
    }

private:
    bool waitFor(int descriptor, short what) const {
        std::array<pollfd, 2> waiting = {pollfd{descriptor, what, 0}, pollfd{ending_[0], 0, 0}};
        return ::poll(waiting.data(), waiting.size(), 10'000) > 0 && waiting[0].revents != 0;
    }

    void serve() {
        if (!waitFor(socket_, POLLIN)) {
            return;
        }
        const int peer = ::accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        sd_bus* made = nullptr;
        sd_bus_new(&made);
        const BusHandle bus(made);
        sd_id128_t id{};
        sd_id128_randomize(&id);
        sd_bus_set_fd(made, peer, peer);
        sd_bus_set_server(made, 1, id);
        sd_bus_add_filter(made, nullptr, heard, this);
        sd_bus_start(made);
        for (;;) {
            const int done = sd_bus_process(made, nullptr);
            if (done < 0 || (done == 0 && !waitFor(sd_bus_get_fd(made), POLLIN))) {
                return;
            }
        }
    }

    static int heard(sd_bus_message* call, void* self, sd_bus_error* /*error*/) {
        return static_cast<FakeManager*>(self)->answer(call);
    }

    int answer(sd_bus_message* call) {
        if (sd_bus_message_is_method_call(call, nullptr, nullptr) <= 0) {
            return 1; // the library's own word that the other has hung up
        }
        const std::string member = sd_bus_message_get_member(call);
        const char* first = "";
        sd_bus_message_read(call, "s", &first);
        std::string property;
        if (member == "Get") {
            const char* name = "";
            sd_bus_message_read(call, "s", &name);
            property = name;
        }
        {
            std::lock_guard lock(mutex_);
            asked_.push_back(member + ' ' + (property.empty() ? first : property));
        }
        if (manner_.isSilent) {
            return 1;
        }
        const char* unit = "/org/freedesktop/systemd1/unit/velmoran_2eservice";
        const char* job = "/org/freedesktop/systemd1/job/7";
        if (member == "LoadUnit" && !manner_.knowsUnit) {
            return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_FILE_NOT_FOUND, "no such unit");
        }
        if (member == "LoadUnit") {
            return sd_bus_reply_method_return(call, "o", unit);
        }
        if (member == "Get") {
            const auto& value = property == "LoadState"     ? manner_.loadState
                                : property == "ActiveState" ? manner_.activeState
                                                            : manner_.fragment;
            return sd_bus_reply_method_return(call, "v", "s", value.c_str());
        }
        if (member == "StartUnit") {
            auto* bus = sd_bus_message_get_bus(call);
            // One that is nobody's business, and ours before its number is known.
            for (const auto& [path, result] :
                 {std::pair("/org/freedesktop/systemd1/job/6", "failed"),
                  std::pair(job, manner_.result.c_str())}) {
                sd_bus_emit_signal(bus, "/org/freedesktop/systemd1",
                                   "org.freedesktop.systemd1.Manager", "JobRemoved", "uoss", 7U,
                                   path, "velmoran.service", result);
            }
            return sd_bus_reply_method_return(call, "o", job);
        }
        return sd_bus_reply_method_return(call, "");
    }

    Manner manner_;
    int socket_ = -1;
    std::array<int, 2> ending_{};
    std::mutex mutex_;
    std::vector<std::string> asked_;
    std::thread thread_;
};

std::string textOf(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

class UserUnitWithAManager : public ::testing::Test {
protected:
    UserUnitWithAManager() {
        fs::create_directories(unitFile_.parent_path());
        fs::create_directories(runtime_);
        std::ofstream(unitFile_) << "[Service]\n";
    }

    bool start() const { return UserUnit(program_, runtime_.string()).start({"DISPLAY=:7"}); }

    TemporaryDirectory folder_;
    fs::path runtime_ = fs::path(folder_.path()) / "run time";
    std::string program_ = (fs::path(folder_.path()) / "usr/bin/velmoran").string();
    fs::path unitFile_ = fs::path(folder_.path()) / "usr/lib/systemd/user/velmoran.service";
    fs::path environment_ = runtime_ / "velmoran-login-environment";
};

TEST_F(UserUnitWithAManager, IsStartedWithTheEnvironmentOfTheLogin) {
    FakeManager manager(runtime_, {.fragment = unitFile_.string()});
    EXPECT_TRUE(start());
    EXPECT_THAT(manager.asked(),
                ElementsAre("LoadUnit velmoran.service", "Get LoadState", "Get FragmentPath",
                            "Get ActiveState", "StartUnit velmoran.service"));
    EXPECT_EQ(textOf(environment_), "DISPLAY=\":7\"\n");
    struct stat status {};
    ASSERT_EQ(::stat(environment_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(UserUnitWithAManager, ForgetsTheCrashesOfOneThatWasGivenUp) {
    FakeManager manager(runtime_, {.fragment = unitFile_.string(), .activeState = "failed"});
    EXPECT_TRUE(start());
    EXPECT_THAT(manager.asked(), Contains("ResetFailedUnit velmoran.service"));
}

TEST_F(UserUnitWithAManager, IsTheUsersOwnOneToo) {
    const FakeManager manager(runtime_,
                              {.fragment = "/home/me/.config/systemd/user/velmoran.service"});
    EXPECT_TRUE(start());
}

TEST_F(UserUnitWithAManager, IsNotStartedForAnotherInstallation) {
    FakeManager manager(runtime_, {.fragment = "/opt/other/lib/systemd/user/velmoran.service"});
    EXPECT_FALSE(start());
    EXPECT_FALSE(fs::exists(environment_));
}

TEST_F(UserUnitWithAManager, IsNotStartedWhereItIsMaskedOrUnknown) {
    {
        const FakeManager manager(runtime_,
                                  {.loadState = "masked", .fragment = unitFile_.string()});
        EXPECT_FALSE(start());
    }
    fs::remove(runtime_ / "systemd/private");
    const FakeManager manager(runtime_, {.knowsUnit = false});
    EXPECT_FALSE(start());
}

TEST_F(UserUnitWithAManager, SaysThatItFailed) {
    const FakeManager manager(runtime_, {.fragment = unitFile_.string(), .result = "failed"});
    EXPECT_FALSE(start());
}

TEST_F(UserUnitWithAManager, WaitsNoLongerThanItWantsForOneThatIsSilent) {
    const FakeManager manager(runtime_, {.isSilent = true});
    EXPECT_FALSE(UserUnit(program_, runtime_.string(), 0.2).start({}));
    EXPECT_FALSE(fs::exists(environment_));
}

TEST_F(UserUnitWithAManager, NeedsBothTheUnitAndTheManager) {
    EXPECT_FALSE(start()) << "no manager";
    FakeManager manager(runtime_, {.fragment = unitFile_.string()});
    EXPECT_FALSE(UserUnit((fs::path(folder_.path()) / "build/velmoran").string(), runtime_.string())
                     .start({}))
        << "nothing is installed beside it";
    EXPECT_FALSE(UserUnit(program_, "").start({}));
    fs::remove(unitFile_);
    EXPECT_FALSE(start()) << "no unit";
    EXPECT_THAT(manager.asked(), IsEmpty());
}

TEST(UserUnit, StandsBesideWhatIsInstalled) {
    EXPECT_EQ(unitFileOf("/usr/bin/velmoran"), "/usr/lib/systemd/user/velmoran.service");
    EXPECT_EQ(unitFileOf("/home/me/build/app/shell/velmoran"), "");
}

TEST(UserUnit, HasTheEnvironmentAsTheFileIsRead) {
    EXPECT_EQ(unitEnvironment({"A=b", "_B2=", "C=a b=c"}), "A=\"b\"\n_B2=\"\"\nC=\"a b=c\"\n");
    EXPECT_EQ(unitEnvironment({"A=\"quoted\" \\ $HOME `x` 'y' #z\nnext"}),
              "A=\"\\\"quoted\\\" \\\\ \\$HOME \\`x\\` 'y' #z\nnext\"\n");
}

TEST(UserUnit, LeavesOutWhatIsOfOneProcessAndWhatWouldBeRefused) {
    EXPECT_EQ(unitEnvironment({"PWD=/", "INVOCATION_ID=1", "NOTIFY_SOCKET=/x",
                               "BASH_FUNC_x%%=() {}", "1A=b", "=b", "A", "E=\x1b[0m", "D=e"}),
              "D=\"e\"\n");
}

} // namespace
} // namespace velmoran
