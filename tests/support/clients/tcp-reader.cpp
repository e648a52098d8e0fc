// Reads from a port of this machine for ever: usage: tcp-reader PORT
#include <array>
#include <cstdint>
#include <cstdlib>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

int main(int count, char** arguments) {
    if (count != 2) {
        return 2;
    }
    const int connection = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(std::atoi(arguments[1])));
    if (::connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return 1;
    }
    std::array<char, 4096> bytes{};
    while (::read(connection, bytes.data(), bytes.size()) > 0) {
    }
    return 1;
}
