// SPDX-License-Identifier: Apache-2.0
#include "security/certificate.h"

#include "security/zpl.h"
#include "text.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zmq.h>

namespace qny {

namespace {

constexpr size_t largestFile = 64 * 1024;
constexpr size_t mostMetadata = 64;
constexpr std::string_view metadataSection = "metadata/";

// "/keys/pump.cert:7: what is wrong"
std::string at(const std::string& path, size_t line, const std::string& what)
{
    return path + ":" + std::to_string(line) + ": " + what;
}

struct File
{
    ~File()
    {
        if (fd >= 0) {
            ::close(fd);
        }
        if (!text.empty()) {
            sodium_memzero(text.data(), text.size());
        }
    }
    int fd = -1;
    struct stat status {};
    std::string text;
};

std::string readFile(const std::string& path, File& file)
{
    // A pipe in the place of a certificate must hold nobody up.
    file.fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file.fd < 0 || fstat(file.fd, &file.status) != 0) {
        return path + ": it cannot be read: " + std::strerror(errno);
    }
    if (!S_ISREG(file.status.st_mode)) {
        return path + ": this is no regular file";
    }
    if (static_cast<size_t>(file.status.st_size) > largestFile) {
        return path + ": it is larger than any certificate (" + std::to_string(largestFile) + " bytes)";
    }
    file.text.resize(largestFile + 1);
    size_t filled = 0;
    while (filled < file.text.size()) {
        const ssize_t count = ::read(file.fd, file.text.data() + filled, file.text.size() - filled);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return path + ": it cannot be read: " + std::strerror(errno);
        }
        if (count == 0) {
            break;
        }
        filled += static_cast<size_t>(count);
    }
    if (filled > largestFile) {
        return path + ": it is larger than any certificate (" + std::to_string(largestFile) + " bytes)";
    }
    file.text.resize(filled); // keeps its place: what was read is wiped with it
    return {};
}

// Exactly one text for each key: what decodes and encodes again as itself.
std::string decodeKey(const std::string& text, std::array<uint8_t, keyBytes>& into)
{
    std::array<char, keyCharacters + 1> again {};
    if (text.size() != keyCharacters || !zmq_z85_decode(into.data(), text.c_str())
        || !zmq_z85_encode(again.data(), into.data(), into.size()) || text != again.data()) {
        sodium_memzero(again.data(), again.size());
        return "is not 40 characters of Z85";
    }
    sodium_memzero(again.data(), again.size());
    if (sodium_is_zero(into.data(), into.size())) {
        return "is all zeros";
    }
    return {};
}

// Points of small order give everybody the same shared secret.
bool isWeak(const std::array<uint8_t, keyBytes>& publicKey)
{
    std::array<uint8_t, crypto_scalarmult_SCALARBYTES> scalar {};
    scalar[0] = 8;
    std::array<uint8_t, crypto_scalarmult_BYTES> product {};
    return crypto_scalarmult(product.data(), scalar.data(), publicKey.data()) != 0;
}

std::string nameOfFile(const std::string& path)
{
    std::string name = std::filesystem::path(path).filename().string();
    constexpr std::string_view secret = "_secret";
    if (isPrivateFileName(name)) {
        name.resize(name.size() - secret.size());
    }
    if (const size_t dot = name.rfind('.'); dot != std::string::npos && dot > 0) {
        name.resize(dot);
    }
    return name;
}

// Characters that turn the reading of a line around: whoever looks at a certificate must see what it says.
bool turnsAround(std::string_view utf8)
{
    for (size_t i = 0; i + 1 < utf8.size(); ++i) {
        const auto at = [&](size_t offset) {
            return i + offset < utf8.size() ? static_cast<unsigned char>(utf8[i + offset]) : 0U;
        };
        const bool isMark = at(0) == 0xE2 && at(1) == 0x80 && (at(2) == 0x8E || at(2) == 0x8F);
        const bool turns = at(0) == 0xE2 && at(1) == 0x80 && at(2) >= 0xA8 && at(2) <= 0xAE;
        const bool isolates = at(0) == 0xE2 && at(1) == 0x81 && at(2) >= 0xA6 && at(2) <= 0xA9;
        if (isMark || turns || isolates) {
            return true;
        }
    }
    return false;
}

std::string readMetadata(const ZplText& text, Certificate& into)
{
    for (const ZplProperty& property : text.properties) {
        if (!property.path.starts_with(metadataSection)) {
            continue;
        }
        const std::string name = property.path.substr(metadataSection.size());
        if (const std::string problem = metadataProblem(name, property.value); !problem.empty()) {
            return at(into.path, property.line, problem);
        }
        if (into.metadataValue(name)) {
            return at(into.path, property.line, "the metadata say " + name + " a second time");
        }
        if (into.metadata.size() >= mostMetadata) {
            return at(into.path, property.line,
                "there are more than " + std::to_string(mostMetadata) + " pieces of metadata");
        }
        into.metadata.emplace_back(name, property.value);
    }
    return {};
}

std::string readKeys(const ZplText& text, CertificateKind kind, Certificate& into)
{
    constexpr std::string_view publicName = "curve/public-key";
    constexpr std::string_view secretName = "curve/secret-key";
    for (const ZplProperty& property : text.properties) {
        const bool isKey = property.path == publicName || property.path == secretName;
        const ZplProperty* first = isKey ? text.find(property.path) : &property;
        if (first != &property) {
            return at(into.path, property.line,
                "a second " + property.path.substr(6) + "; the first stands in line " + std::to_string(first->line));
        }
    }
    const ZplProperty* section = text.find("curve");
    const ZplProperty* publicKey = text.find(publicName);
    const size_t place = section ? section->line : std::max<size_t>(text.lines, 1);
    if (!publicKey) {
        return at(into.path, place, section ? "the section curve has no public-key" : "there is no section curve");
    }
    if (const std::string problem = decodeKey(publicKey->value, into.publicBytes); !problem.empty()) {
        return at(into.path, publicKey->line, "the public key " + problem);
    }
    if (isWeak(into.publicBytes)) {
        return at(into.path, publicKey->line, "the public key is one of the few that protect nothing");
    }
    into.publicKey = publicKey->value;
    into.publicKeyLine = publicKey->line;
    const ZplProperty* secretKey = text.find(secretName);
    if (!secretKey) {
        return kind == CertificateKind::Private
            ? at(into.path, place, "there is no secret-key: this is a public certificate, and a private one is needed")
            : std::string();
    }
    if (kind == CertificateKind::Public) {
        return at(into.path, secretKey->line,
            "there is a secret key in it, which belongs to its owner alone: put the public certificate here, and make "
            "new keys if others could read this file");
    }
    if (const std::string problem = decodeKey(secretKey->value, into.secret.bytes); !problem.empty()) {
        return at(into.path, secretKey->line, "the secret key " + problem);
    }
    std::array<uint8_t, keyBytes> belonging {};
    if (crypto_scalarmult_base(belonging.data(), into.secret.bytes.data()) != 0 || belonging != into.publicBytes) {
        return at(into.path, secretKey->line,
            "the secret key does not belong to the public key in line " + std::to_string(publicKey->line));
    }
    into.secret.isSet = true;
    return {};
}

void wipe(ZplText& text)
{
    for (ZplProperty& property : text.properties) {
        sodium_memzero(property.value.data(), property.value.size());
    }
}

std::string accessProblem(const std::string& path, mode_t mode, bool holdsSecret)
{
    char text[16] = "";
    std::snprintf(text, sizeof text, "%04o", static_cast<unsigned>(mode & 07777));
    if (holdsSecret && (mode & (S_IRWXG | S_IRWXO)) != 0) {
        return path + ": others than its owner may use this private certificate (its mode is " + text
            + "); take that from them with chmod 600, and make new keys if somebody else had the chance to read it";
    }
    if (const std::string open = holdsSecret ? openFolderAbove(path) : std::string(); !open.empty()) {
        return path + ": anybody may write into " + open
            + ", and so put another file in its place; take that away with chmod o-w";
    }
    if ((mode & S_IWOTH) != 0) {
        return path + ": anybody may write into it (its mode is " + text + "); take that away with chmod o-w";
    }
    return {};
}

} // namespace

SecretKey::~SecretKey()
{
    sodium_memzero(bytes.data(), bytes.size());
}

const std::string* Certificate::metadataValue(std::string_view wanted) const
{
    const auto it = std::ranges::find(metadata, wanted, &std::pair<std::string, std::string>::first);
    return it == metadata.end() ? nullptr : &it->second;
}

bool isPrivateFileName(std::string_view fileName)
{
    return fileName.ends_with("_secret") && fileName.size() > std::string_view("_secret").size();
}

std::string metadataProblem(std::string_view name, std::string_view value)
{
    const auto allowed = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_'
            || c == '.';
    };
    if (name.empty() || name.size() > maxNameBytes || !std::ranges::all_of(name, allowed)) {
        return "the name of a piece of metadata consists of 1 to 255 letters, digits, -, _ and .";
    }
    if (value.size() > 1024 || !isUtf8(value) || value.find('"') != std::string_view::npos || hasControl(value)
        || turnsAround(value)) {
        return "the value of a piece of metadata is at most 1024 bytes of text without quotation marks and control "
               "characters";
    }
    if (name == "name" && (value.empty() || value.size() > maxNameBytes)) {
        return "the name of a certificate has 1 to 255 bytes";
    }
    return {};
}

std::string openFolderAbove(const std::string& path)
{
    namespace fs = std::filesystem;
    std::error_code error;
    // By the path as it was given and by what its links lead to.
    for (const fs::path& each : { fs::absolute(path, error).lexically_normal(), fs::weakly_canonical(path, error) }) {
        for (fs::path above = each.parent_path(); !above.empty(); above = above.parent_path()) {
            struct stat status {};
            // In one like /tmp nobody takes away or renames what is not theirs.
            const bool isOpen = stat(above.c_str(), &status) == 0 && (status.st_mode & S_IWOTH) != 0
                && (status.st_mode & S_ISVTX) == 0;
            if (isOpen) {
                return above.string();
            }
            if (above == above.parent_path()) {
                break;
            }
        }
    }
    return {};
}

std::string readCertificate(const std::string& path, CertificateKind kind, Certificate& into)
{
    into.path = path;
    File file;
    if (std::string problem = readFile(path, file); !problem.empty()) {
        return problem;
    }
    ZplText text = parseZpl(file.text);
    const struct Wiper
    {
        ~Wiper() { wipe(what); }
        ZplText& what;
    } wiper { text };
    if (!text.problem.empty()) {
        return at(path, text.problemLine, text.problem);
    }
    const bool holdsSecret = kind != CertificateKind::Public && text.find("curve/secret-key");
    std::string problem = accessProblem(path, file.status.st_mode, holdsSecret);
    if (problem.empty()) {
        problem = readMetadata(text, into);
    }
    if (problem.empty()) {
        problem = readKeys(text, kind, into);
    }
    if (!problem.empty()) {
        return problem;
    }
    const std::string* name = into.metadataValue("name");
    into.name = name ? *name : nameOfFile(path);
    if (!name && !metadataProblem("name", into.name).empty()) {
        return at(path, 1, "it has the name of its file, which is not to be shown: give the file another one");
    }
    return {};
}

} // namespace qny
