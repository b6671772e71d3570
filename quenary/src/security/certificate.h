// SPDX-License-Identifier: Apache-2.0
// A certificate: a CURVE key with what its maker wrote beside it. A private one holds the secret half, too.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qny {

constexpr size_t keyBytes = 32;
constexpr size_t keyCharacters = 40;

// Wiped when it goes.
class SecretKey
{
public:
    SecretKey() = default;
    ~SecretKey();
    SecretKey(const SecretKey&) = delete;
    SecretKey& operator=(const SecretKey&) = delete;

    bool isSet = false;
    std::array<uint8_t, keyBytes> bytes {};
};

using Metadata = std::vector<std::pair<std::string, std::string>>;

struct Certificate
{
    std::string path;
    std::string name; // what the metadata call it, else what its file is called
    std::string publicKey; // Z85
    std::array<uint8_t, keyBytes> publicBytes {};
    size_t publicKeyLine = 0;
    SecretKey secret;
    Metadata metadata;

    // The value of a piece of metadata, or null.
    const std::string* metadataValue(std::string_view name) const;
};
using CertificatePtr = std::shared_ptr<const Certificate>;

enum class CertificateKind
{
    Public, // must hold no secret
    Private, // must hold the secret; nobody but its owner may read it, and not anybody exchange it
    Any // the same, where it holds a secret
};

// Fills in the certificate. Returns what is wrong, with file and line ("/keys/pump.cert:7: …"), or nothing.
std::string readCertificate(const std::string& path, CertificateKind kind, Certificate& into);

// Of the folders above, one into which anybody may write, and so exchange what lies below; or nothing.
std::string openFolderAbove(const std::string& path);

// Why no certificate of this name with these metadata can be made, or nothing.
std::string newCertificateProblem(const std::string& name, const Metadata& metadata);

// Makes the keys and writes NAME.cert_secret, readable by its owner alone, and NAME.cert. Each appears whole or not at
// all, and none that is there is overwritten (`exists` is set then). Returns what is wrong, or nothing.
std::string makeCertificate(
    const std::string& directory, const std::string& name, const Metadata& metadata, Certificate& made, bool& exists);

// Why this cannot stand among the metadata, or nothing.
std::string metadataProblem(std::string_view name, std::string_view value);

// A public certificate's file may lie beside the private one's: this tells the private one by its name.
bool isPrivateFileName(std::string_view fileName);

} // namespace qny
