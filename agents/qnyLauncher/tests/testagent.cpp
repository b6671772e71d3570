// SPDX-License-Identifier: Apache-2.0
//
// A program that does what its arguments say, one after another:
//   --say TEXT, --complain TEXT   a line on standard output, on standard error
//   --environment NAME            the value of a variable, as a line
//   --lines COUNT                 so many numbered lines
//   --rest                        what follows is said, one argument a line between brackets, and nothing of it is done
//   --deaf                        SIGTERM is ignored from now on
//   --wait                        until a signal comes
//   --exit STATUS, --raise SIGNAL

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

int main(int argc, char** argv)
{
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const char* const value = i + 1 < argc ? argv[i + 1] : "";
        if (word == "--deaf") {
            std::signal(SIGTERM, SIG_IGN);
            continue;
        }
        if (word == "--wait") {
            for (;;) {
                pause();
            }
        }
        if (word == "--rest") {
            while (++i < argc) {
                std::printf("[%s]\n", argv[i]);
            }
            break;
        }
        ++i;
        if (word == "--say") {
            std::printf("%s\n", value);
        } else if (word == "--complain") {
            std::fprintf(stderr, "%s\n", value);
        } else if (word == "--environment") {
            const char* const variable = std::getenv(value);
            std::printf("%s=%s\n", value, variable == nullptr ? "" : variable);
        } else if (word == "--lines") {
            for (int line = 1; line <= std::atoi(value); ++line) {
                std::printf("line %d\n", line);
            }
        } else if (word == "--exit") {
            std::fflush(stdout);
            return std::atoi(value);
        } else if (word == "--raise") {
            std::fflush(stdout);
            std::raise(std::atoi(value));
        }
    }
    return 0;
}
