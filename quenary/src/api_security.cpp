// SPDX-License-Identifier: Apache-2.0
// The exported functions that concern certificates and who calls.
#include "handed_out.h"
#include "report.h"
#include "security/certificate.h"

using namespace qny;

namespace {

// The structure, its list and its texts in one piece of memory, so that one qny_free() gives all back.
qny_certificate_t* handOut(const Certificate& certificate)
{
    const size_t pointers = 2 * certificate.metadata.size() + 1;
    size_t bytes = sizeof(qny_certificate_t) + pointers * sizeof(char*) + certificate.path.size()
        + certificate.name.size() + certificate.publicKey.size() + 3;
    for (const auto& [name, value] : certificate.metadata) {
        bytes += name.size() + value.size() + 2;
    }
    auto* made = static_cast<qny_certificate_t*>(allocate(bytes));
    auto** list = reinterpret_cast<const char**>(made + 1);
    char* text = reinterpret_cast<char*>(list + pointers);
    const auto put = [&text](const std::string& from) {
        char* at = text;
        std::memcpy(at, from.c_str(), from.size() + 1);
        text += from.size() + 1;
        return at;
    };
    made->path = put(certificate.path);
    made->name = put(certificate.name);
    made->public_key = put(certificate.publicKey);
    made->is_private = certificate.secret.isSet;
    made->metadata = list;
    for (const auto& [name, value] : certificate.metadata) {
        *list++ = put(name);
        *list++ = put(value);
    }
    *list = nullptr;
    return made;
}

} // namespace

qny_result_t qny_certificate_make(
    const char* directory, const char* name, const char* const* metadata, qny_certificate_t** certificate)
{
    if (!directory || !*directory || !name) {
        return fail(QNY_ERROR_ARGUMENT, "The directory or the name of the certificate is null or empty.");
    }
    std::vector<std::pair<std::string, std::string>> pairs;
    for (const char* const* each = metadata; each && *each; each += 2) {
        if (!each[1]) {
            return fail(QNY_ERROR_ARGUMENT, std::string("The metadata ") + *each + " have no value.");
        }
        pairs.emplace_back(each[0], each[1]);
    }
    if (const std::string problem = newCertificateProblem(name, pairs); !problem.empty()) {
        return fail(QNY_ERROR_ARGUMENT, problem + ".");
    }
    Certificate made;
    bool exists = false;
    if (const std::string problem = makeCertificate(directory, name, pairs, made, exists); !problem.empty()) {
        return fail(exists ? QNY_ERROR_EXISTS : QNY_ERROR_SYSTEM, problem + ".");
    }
    if (certificate) {
        *certificate = handOut(made);
    }
    return QNY_SUCCESS;
}

qny_result_t qny_certificate_read(const char* path, qny_certificate_t** certificate)
{
    if (!path || !certificate) {
        return fail(QNY_ERROR_ARGUMENT, "The path of the certificate, or the place for it, is null.");
    }
    Certificate read;
    if (const std::string problem = readCertificate(path, CertificateKind::Any, read); !problem.empty()) {
        return fail(QNY_ERROR_SECURITY, problem + ".");
    }
    *certificate = handOut(read);
    return QNY_SUCCESS;
}
