// machine_log SOCKET FILE: a system log that shows how it was called. Each record becomes one line of the file; a
// control character in it is shown as \\xHH, so that no record can look like two.

#include <array>
#include <cstdio>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

int main(int argc, char* argv[]) {
    if (argc != 3) {
        return 64;
    }
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, argv[1], sizeof address.sun_path - 1);
    const int log = ::socket(AF_UNIX, SOCK_DGRAM, 0);
    std::FILE* const file = std::fopen(argv[2], "w");
    if (file == nullptr || ::bind(log, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::chmod(argv[1], 0666) != 0) {
        std::perror("machine_log");
        return 1;
    }
    std::array<char, 65536> record = {};
    for (;;) {
        const ssize_t length = ::recv(log, record.data(), record.size(), 0);
        for (ssize_t index = 0; index < length; ++index) {
            const auto byte = static_cast<unsigned char>(record.at(static_cast<std::size_t>(index)));
            static_cast<void>(std::fprintf(file, byte < 0x20 || byte == 0x7F ? "\\x%02x" : "%c", byte));
        }
        static_cast<void>(std::fputc('\n', file));
        static_cast<void>(std::fflush(file));
    }
}
