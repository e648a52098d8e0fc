// Opens a connection to the sound server and lets another program use it, as a portal does:
// usage: connection-giver keep|close PROGRAM [ARGUMENT]...
// The program gets the connection's number behind its last argument. "keep" holds a copy of its
// own, "close" doesn't; either way it lives until the other ends.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>

int main(int count, char** arguments) {
    if (count < 3) {
        return 2;
    }
    const std::string path = std::string(std::getenv("XDG_RUNTIME_DIR")) + "/pipewire-0";
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    const int connection = socket(AF_UNIX, SOCK_STREAM, 0);
    if (connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        std::perror("connect");
        return 1;
    }
    const std::string number = std::to_string(connection);
    std::vector<char*> command(arguments + 2, arguments + count);
    command.push_back(const_cast<char*>(number.c_str()));
    command.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        execv(command[0], command.data());
        _exit(127);
    }
    if (std::string(arguments[1]) == "close") {
        close(connection);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
