// SPDX-License-Identifier: Apache-2.0
#include "networkconfiguration.h"

#include <QDir>
#include <QFileInfo>

#include <memory>

#include <quenary.h>

namespace {

struct Free
{
    void operator()(qny_certificate_t* certificate) const { qny_free(certificate); }
};
using Certificate = std::unique_ptr<qny_certificate_t, Free>;

/// As the network takes the directory.
CertificatesFound readAll(const QString& directory)
{
    CertificatesFound all;
    const auto take = [](const qny_certificate_t* certificate, const char* problem, void* into) {
        auto* const to = static_cast<CertificatesFound*>(into);
        if (certificate != nullptr) {
            to->names.append(QString::fromUtf8(certificate->name));
        } else if (to->problem.isEmpty()) {
            to->problem = QString::fromUtf8(problem); // the first
        }
    };
    if (qny_certificates_check(directory.toUtf8().constData(), take, &all) != QNY_SUCCESS) {
        all.problem = QString::fromUtf8(qny_last_error());
    }
    return all;
}

} // namespace

CertificatesFound NetworkConfiguration::privateCertificateAt(const QString& path) const
{
    CertificatesFound found;
    qny_certificate_t* read = nullptr;
    if (qny_certificate_read(path.toUtf8().constData(), &read) != QNY_SUCCESS) {
        found.problem = QString::fromUtf8(qny_last_error());
        return found;
    }
    const Certificate certificate(read);
    if (certificate->is_private) {
        found.names.append(QString::fromUtf8(certificate->name));
    } else {
        found.problem = tr("This is the public half. Choose the private one, whose file nobody else may read.");
    }
    return found;
}

CertificatesFound NetworkConfiguration::publicCertificatesIn(const QString& directory) const
{
    if (!QDir(directory).exists()) {
        return { tr("There is no such folder."), {} };
    }
    CertificatesFound all = readAll(directory);
    if (QFileInfo(directory).permission(QFile::WriteOther)) {
        all.problem = tr("Everybody may write into this folder: nothing in it would count.");
    } else if (all.problem.isEmpty() && all.names.isEmpty()) {
        all.problem = tr("No certificate is in it yet: nobody is let in.");
    }
    return all;
}
