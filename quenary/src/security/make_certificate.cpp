// SPDX-License-Identifier: Apache-2.0
// New certificates. A private one is never readable by others, not even while it is written.
#include "security/certificate.h"

#include "text.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zmq.h>

namespace qny {

namespace {

constexpr mode_t privateMode = 0600;
constexpr mode_t publicMode = 0644;
constexpr char publicEnding[] = ".cert";
constexpr char secretEnding[] = "_secret";
// Of the hidden file that becomes the private one.
constexpr size_t longestEnding = sizeof "..cert_secret.XXXXXX";

std::string certificateText(const Metadata& metadata, const std::string& publicKey, const char* secretKey)
{
    char date[32] = "";
    const time_t now = std::time(nullptr);
    struct tm parts
    {
    };
    std::strftime(date, sizeof date, "%Y-%m-%d %H:%M:%S UTC", gmtime_r(&now, &parts));
    std::string text;
    text.reserve(16 * 1024); // never moved: the secret is wiped where it stands
    text += std::string("#   Made on ") + date + " by qnyCertificates\n";
    text += secretKey ? "#   PRIVATE certificate: it proves who its owner is. Hand it to nobody.\n"
                      : "#   Public certificate: copy it into the directory of public certificates of each machine\n"
                        "#   whose agents are to meet its owner's, by a way on which nobody can exchange it.\n";
    text += "\nmetadata\n";
    for (const auto& [name, value] : metadata) {
        text += "    " + name + " = \"" + value + "\"\n";
    }
    text += "curve\n    public-key = \"" + publicKey + "\"\n";
    if (secretKey) {
        text.append("    secret-key = \"").append(secretKey).append("\"\n");
    }
    return text;
}

std::string systemProblem(const std::string& path, const char* what)
{
    return path + ": " + what + ": " + std::strerror(errno);
}

// A file beside its place: whole, on the disk, and of its final mode before it gets its name.
class FileInTheMaking
{
public:
    explicit FileInTheMaking(std::string path)
        : m_path(std::move(path))
    {
        const size_t slash = m_path.rfind('/') + 1;
        m_temporary = m_path.substr(0, slash) + "." + m_path.substr(slash) + ".XXXXXX";
    }
    ~FileInTheMaking()
    {
        if (m_written) {
            ::unlink(m_temporary.c_str());
        }
    }
    FileInTheMaking(const FileInTheMaking&) = delete;
    FileInTheMaking& operator=(const FileInTheMaking&) = delete;

    std::string write(const std::string& text, mode_t mode)
    {
        const int fd = mkostemp(m_temporary.data(), O_CLOEXEC); // 0600
        if (fd < 0) {
            return systemProblem(m_path, "it cannot be written");
        }
        m_written = true;
        bool sound = fchmod(fd, mode) == 0;
        for (size_t done = 0; sound && done < text.size();) {
            const ssize_t count = ::write(fd, text.data() + done, text.size() - done);
            sound = count > 0 || (count < 0 && errno == EINTR);
            done += count > 0 ? static_cast<size_t>(count) : 0;
        }
        sound = sound && fsync(fd) == 0;
        const std::string problem = sound ? std::string() : systemProblem(m_path, "it cannot be written");
        ::close(fd);
        return problem;
    }
    // A link is made only where nothing has that name.
    std::string place(bool& exists)
    {
        if (::link(m_temporary.c_str(), m_path.c_str()) == 0) {
            return {};
        }
        exists = errno == EEXIST;
        return exists ? m_path + ": it is there already, and is not overwritten"
                      : systemProblem(m_path, "it cannot be put in place");
    }
    void withdraw() const { ::unlink(m_path.c_str()); }

private:
    std::string m_path;
    std::string m_temporary;
    bool m_written = false;
};

} // namespace

std::string newCertificateProblem(const std::string& name, const Metadata& metadata)
{
    if (const std::string problem = nameProblem(name, true); !problem.empty()) {
        return "\"" + name + "\" cannot name a certificate: " + problem;
    }
    if (name.starts_with('.') || name.size() + longestEnding > maxNameBytes) {
        return "\"" + name + "\" cannot name a certificate: a file of that name would be hidden, or its name too long";
    }
    for (const auto& [key, value] : metadata) {
        if (std::string problem = metadataProblem(key, value); !problem.empty()) {
            return key + ": " + problem;
        }
        if (key == "name") {
            return "the metadata name the certificate once more";
        }
    }
    return {};
}

std::string makeCertificate(
    const std::string& directory, const std::string& name, const Metadata& metadata, Certificate& made, bool& exists)
{
    exists = false;
    Metadata all { { "name", name } };
    all.insert(all.end(), metadata.begin(), metadata.end());
    const std::string publicPath = directory + (directory.ends_with('/') ? "" : "/") + name + publicEnding;
    std::array<char, keyCharacters + 1> publicKey {};
    std::array<char, keyCharacters + 1> secretKey {};
    if (zmq_curve_keypair(publicKey.data(), secretKey.data()) != 0) {
        return "keys cannot be made: this build of ZeroMQ has no CURVE";
    }
    made.path = publicPath + secretEnding;
    made.name = name;
    made.publicKey = publicKey.data();
    made.metadata = all;
    made.secret.isSet = true; // in its file, and nowhere else
    FileInTheMaking privateFile(made.path);
    FileInTheMaking publicFile(publicPath);
    std::string text = certificateText(all, made.publicKey, secretKey.data());
    std::string problem = privateFile.write(text, privateMode);
    sodium_memzero(text.data(), text.size());
    sodium_memzero(secretKey.data(), secretKey.size());
    if (problem.empty()) {
        problem = publicFile.write(certificateText(all, made.publicKey, nullptr), publicMode);
    }
    if (problem.empty()) {
        problem = privateFile.place(exists);
    }
    if (!problem.empty()) {
        return problem;
    }
    problem = publicFile.place(exists);
    if (!problem.empty()) {
        privateFile.withdraw();
    }
    return problem;
}

} // namespace qny
