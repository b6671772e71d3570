// SPDX-License-Identifier: Apache-2.0
#ifndef SAMPLES_TESTS_CHILD_H
#define SAMPLES_TESTS_CHILD_H

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

// A sample program as a child process; killed, should a test leave it running.
class Child
{
public:
    Child(const std::string& program, const std::vector<std::string>& arguments, const std::filesystem::path& errorFile)
        : _errorFile(errorFile)
    {
        std::string path = std::string(SAMPLES_DIRECTORY) + "/" + program;
        std::vector<std::string> words { path };
        words.insert(words.end(), arguments.begin(), arguments.end());
        std::vector<char*> argv;
        for (auto& word : words) {
            argv.push_back(word.data());
        }
        argv.push_back(nullptr);
        _pid = fork();
        if (_pid == 0) {
            const int file = open(_errorFile.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0600);
            dup2(file, STDERR_FILENO);
            execv(path.c_str(), argv.data());
            _exit(127);
        }
    }

    Child(Child&& other) noexcept
        : _errorFile(other._errorFile)
        , _pid(std::exchange(other._pid, -1))
    {
    }

    ~Child()
    {
        if (_pid > 0) {
            kill(_pid, SIGKILL);
            waitpid(_pid, nullptr, 0);
        }
    }

    void signal(int number) const { kill(_pid, number); }

    // The exit status, -1 after a signal's end, nothing while it still runs after the time.
    std::optional<int> waitForEnd(std::chrono::milliseconds time = std::chrono::seconds(10))
    {
        const auto end = std::chrono::steady_clock::now() + time;
        int status = 0;
        while (waitpid(_pid, &status, WNOHANG) == 0) {
            if (std::chrono::steady_clock::now() > end) {
                return std::nullopt;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        _pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    std::string standardError() const
    {
        std::ifstream file(_errorFile);
        std::ostringstream all;
        all << file.rdbuf();
        return all.str();
    }

private:
    std::filesystem::path _errorFile;
    pid_t _pid = -1;
};

#endif
