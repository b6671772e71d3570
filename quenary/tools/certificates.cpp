// SPDX-License-Identifier: Apache-2.0
// Makes and shows the certificates of a secured network.
#include "quenary.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr int statusFailed = 1;
constexpr int statusBadCommandLine = 2;

constexpr char help[] = R"(Usage: qnyCertificates make NAME [--output DIRECTORY] [--metadata NAME=VALUE]...
       qnyCertificates show FILE|DIRECTORY...

make    makes keys and writes two files into the directory (default: the present one): NAME.cert, the public
        certificate, to be copied to each machine whose agents are to meet its owner's, and NAME.cert_secret, the
        private one, which only its owner may read. Files that are there are never overwritten.
show    checks certificates and says what they are; the secret half is never shown. Of a directory, all that counts
        where it is given as the public certificates, and what does not; and the private ones in it.

--output DIRECTORY      where make writes
--metadata NAME=VALUE   what the certificate says besides its name, such as --metadata organization=Plant
--help                  show this and end
--version               show the version and end
)";

// Names of files may hold what controls a terminal.
std::string plain(std::string text)
{
    for (size_t i = 0; i < text.size(); ++i) {
        const auto code = static_cast<unsigned char>(text[i]);
        const bool isSecondBlock
            = code == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0;
        if (isSecondBlock) {
            text.erase(i, 1);
        }
        if (code < 0x20 || code == 0x7F || isSecondBlock) {
            text[i] = '?';
        }
    }
    return text;
}

int wrong(const std::string& what)
{
    std::fprintf(stderr, "qnyCertificates: %s (see qnyCertificates --help)\n", plain(what).c_str());
    return statusBadCommandLine;
}

int failed()
{
    std::fprintf(stderr, "qnyCertificates: %s\n", plain(qny_last_error()).c_str());
    return statusFailed;
}

int make(const std::vector<std::string>& arguments)
{
    std::string name;
    std::string directory = ".";
    std::vector<std::string> metadata;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        const bool isOutput = argument == "--output";
        if (!isOutput && argument != "--metadata") {
            if (argument.starts_with('-') || !name.empty()) {
                return wrong("unexpected argument \"" + argument + "\"");
            }
            name = argument;
            continue;
        }
        if (++i == arguments.size()) {
            return wrong("option \"" + argument + "\" needs a value");
        }
        const size_t equals = arguments[i].find('=');
        if (isOutput) {
            directory = arguments[i];
        } else if (equals == std::string::npos) {
            return wrong("\"" + arguments[i] + "\" is not of the form NAME=VALUE");
        } else {
            metadata.push_back(arguments[i].substr(0, equals));
            metadata.push_back(arguments[i].substr(equals + 1));
        }
    }
    if (name.empty()) {
        return wrong("make needs a name");
    }
    std::vector<const char*> texts;
    for (const std::string& each : metadata) {
        texts.push_back(each.c_str());
    }
    texts.push_back(nullptr);
    qny_certificate_t* made = nullptr;
    const qny_result_t result = qny_certificate_make(directory.c_str(), name.c_str(), texts.data(), &made);
    if (result == QNY_ERROR_ARGUMENT) {
        return wrong(qny_last_error());
    }
    if (result != QNY_SUCCESS) {
        return failed();
    }
    const std::string privatePath = made->path;
    std::printf("public   %s\nprivate  %s (for its owner alone)\n",
        plain(privatePath.substr(0, privatePath.size() - std::string("_secret").size())).c_str(),
        plain(privatePath).c_str());
    qny_free(made);
    return 0;
}

void print(const qny_certificate_t* certificate)
{
    std::printf("%s\n  kind        %s\n  name        %s\n  public key  %s\n", plain(certificate->path).c_str(),
        certificate->is_private ? "private" : "public", certificate->name, certificate->public_key);
    for (const char* const* each = certificate->metadata; *each; each += 2) {
        if (std::string(each[0]) != "name") {
            std::printf("  %-10s  %s\n", each[0], each[1]);
        }
    }
}

bool showFile(const std::string& path)
{
    qny_certificate_t* certificate = nullptr;
    if (qny_certificate_read(path.c_str(), &certificate) != QNY_SUCCESS) {
        failed();
        return false;
    }
    print(certificate);
    qny_free(certificate);
    return true;
}

// As a process sees it that is given the directory: what counts there, and what does not; and the private ones in it.
bool showDirectory(const std::string& directory)
{
    bool sound = true;
    const auto tell = [](const qny_certificate_t* certificate, const char* problem, void* isSound) {
        if (certificate) {
            print(certificate);
            return;
        }
        std::fprintf(stderr, "qnyCertificates: %s\n", plain(problem).c_str());
        *static_cast<bool*>(isSound) = false;
    };
    if (qny_certificates_check(directory.c_str(), tell, &sound) != QNY_SUCCESS) {
        failed();
        sound = false;
    }
    std::vector<std::string> paths;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(directory, error)) {
        const std::string name = entry.path().filename().string();
        if (!name.starts_with('.') && name.ends_with("_secret")) {
            paths.push_back(entry.path().string());
        }
    }
    std::ranges::sort(paths);
    for (const std::string& path : paths) {
        sound = showFile(path) && sound;
    }
    return sound;
}

int show(const std::vector<std::string>& arguments)
{
    if (arguments.empty()) {
        return wrong("show needs a file or a directory");
    }
    bool sound = true;
    for (const std::string& argument : arguments) {
        std::error_code error;
        const bool isDirectory = std::filesystem::is_directory(argument, error);
        sound = (isDirectory ? showDirectory(argument) : showFile(argument)) && sound;
    }
    return sound ? 0 : statusFailed;
}

} // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> arguments(argv + 1, argv + argc);
    const auto asksFor = [&](const char* option) { return std::ranges::find(arguments, option) != arguments.end(); };
    if (asksFor("--help")) {
        std::fputs(help, stdout);
        return 0;
    }
    if (asksFor("--version")) {
        std::printf("qnyCertificates %s\n", qny_version());
        return 0;
    }
    if (arguments.empty()) {
        return wrong("nothing is asked for");
    }
    const std::string verb = arguments.front();
    arguments.erase(arguments.begin());
    if (verb == "make") {
        return make(arguments);
    }
    return verb == "show" ? show(arguments) : wrong("\"" + verb + "\" is neither make nor show");
}
