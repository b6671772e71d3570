// SPDX-License-Identifier: Apache-2.0
// The exported functions that concern certificates and who calls.
#include "handed_out.h"
#include "report.h"
#include "security/certificate.h"
#include "security/certificate_directory.h"
#include "security/handed_certificate.h"

#include <algorithm>

using namespace qny;

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

const qny_certificate_t* qny_caller_certificate(void)
{
    return CallerScope::certificate();
}

struct qny_certificates
{
    explicit qny_certificates(const char* path)
        : directory(path)
    {
    }
    CertificateDirectory directory;
};

qny_certificates_t* qny_certificates_open(const char* directory)
{
    if (!directory || !*directory) {
        fail(QNY_ERROR_ARGUMENT, "The directory of certificates is null or empty.");
        return nullptr;
    }
    auto made = std::make_unique<qny_certificates>(directory);
    if (const std::string problem = made->directory.open(); !problem.empty()) {
        fail(QNY_ERROR_SECURITY, problem + ".");
        return nullptr;
    }
    made->directory.watch({});
    return made.release();
}

qny_result_t qny_certificates_check(const char* directory, qny_certificate_finding_fn function, void* user_data)
{
    if (!directory || !*directory || !function) {
        return fail(QNY_ERROR_ARGUMENT, "The directory of certificates, or the function, is null or empty.");
    }
    std::vector<std::string> problems;
    CertificateDirectory looked(directory, [&problems](const std::string& problem) { problems.push_back(problem); });
    if (const std::string problem = looked.open(); !problem.empty()) {
        return fail(QNY_ERROR_SECURITY, problem + ".");
    }
    std::vector<CertificatePtr> counting;
    for (const auto& [key, certificate] : looked.certificates()->byKey) {
        counting.push_back(certificate);
    }
    std::ranges::sort(counting, {}, [](const CertificatePtr& each) { return each->path; });
    for (const CertificatePtr& each : counting) {
        const std::unique_ptr<qny_certificate_t, decltype(&qny_free)> handed(handOut(*each), &qny_free);
        function(handed.get(), nullptr, user_data);
    }
    for (const std::string& problem : problems) {
        function(nullptr, (problem + ".").c_str(), user_data);
    }
    return QNY_SUCCESS;
}

char* qny_open_folder_above(const char* path)
{
    const std::string open = path ? openFolderAbove(path) : std::string();
    return open.empty() ? nullptr : duplicate(open);
}

bool qny_certificates_hold(qny_certificates_t* certificates, const char* public_key)
{
    return certificates && public_key && certificates->directory.certificates()->find(public_key);
}

size_t qny_certificates_count(qny_certificates_t* certificates)
{
    return certificates ? certificates->directory.certificates()->byKey.size() : 0;
}

void qny_certificates_close(qny_certificates_t* certificates)
{
    delete certificates;
}
