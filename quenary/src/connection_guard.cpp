// SPDX-License-Identifier: Apache-2.0
// What may become of a connection, and libzmq 4.3.5 takes for a fault of its own, whereupon it ends the process. These
// functions of the C library are the ones that tell it. Ours are found first where they are in a library that the
// program names before that one: in this, and in those by way of which a program uses it without naming it.
#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <sys/socket.h>

namespace {

template <typename Function> Function theirs(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

// A firewall that answers "protocol unreachable" makes this of an attempt to connect; libzmq takes it for a fault of
// its own.
__attribute__((visibility("default"))) int getsockopt(
    int fd, int level, int option, void* value, socklen_t* length) noexcept
{
    static const auto their = theirs<decltype(&getsockopt)>("getsockopt");
    const int result = their(fd, level, option, value, length);
    int error = 0;
    if (result == 0 && level == SOL_SOCKET && option == SO_ERROR && *length == sizeof error) {
        std::memcpy(&error, value, sizeof error);
        if (error == ENOPROTOOPT) {
            error = ECONNREFUSED;
            std::memcpy(value, &error, sizeof error);
        }
    }
    return result;
}

// What a router on the way said before the connection was given up: "source route failed", or "prohibited" with IPv6.
__attribute__((visibility("default"))) ssize_t send(int fd, const void* bytes, size_t size, int flags)
{
    static const auto their = theirs<decltype(&send)>("send");
    const ssize_t result = their(fd, bytes, size, flags);
    if (result < 0 && (errno == EOPNOTSUPP || errno == EACCES || errno == EMSGSIZE)) {
        const int error = errno;
        int type = 0;
        socklen_t length = sizeof type;
        const bool isStream = getsockopt(fd, SOL_SOCKET, SO_TYPE, &type, &length) == 0 && type == SOCK_STREAM;
        errno = isStream ? ECONNRESET : error;
    }
    return result;
}

} // extern "C"
