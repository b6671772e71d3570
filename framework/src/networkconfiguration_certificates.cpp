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

/// Null, and why in *problem, when it is refused.
Certificate read(const QString& path, QString* problem)
{
    qny_certificate_t* certificate = nullptr;
    if (qny_certificate_read(path.toUtf8().constData(), &certificate) != QNY_SUCCESS) {
        *problem = QString::fromUtf8(qny_last_error());
        return nullptr;
    }
    return Certificate(certificate);
}

struct Certificates
{
    QStringList names;
    QString problem; // the first
};

/// As the network takes the directory.
Certificates readAll(const QString& directory)
{
    Certificates all;
    const auto take = [](const qny_certificate_t* certificate, const char* problem, void* into) {
        auto* const to = static_cast<Certificates*>(into);
        if (certificate != nullptr) {
            to->names.append(QString::fromUtf8(certificate->name));
        } else if (to->problem.isEmpty()) {
            to->problem = QString::fromUtf8(problem);
        }
    };
    if (qny_certificates_check(directory.toUtf8().constData(), take, &all) != QNY_SUCCESS) {
        all.problem = QString::fromUtf8(qny_last_error());
    }
    return all;
}

} // namespace

QString NetworkConfiguration::privateCertificateProblem(const QString& path) const
{
    QString problem;
    const Certificate certificate = read(path, &problem);
    if (certificate && !certificate->is_private) {
        return tr("This is the public half. Choose the private one, whose file nobody else may read.");
    }
    return problem;
}

QString NetworkConfiguration::privateCertificateName(const QString& path) const
{
    QString problem;
    const Certificate certificate = read(path, &problem);
    return certificate && certificate->is_private ? QString::fromUtf8(certificate->name) : QString();
}

QString NetworkConfiguration::publicCertificatesProblem(const QString& directory) const
{
    if (!QDir(directory).exists()) {
        return tr("There is no such folder.");
    }
    if (QFileInfo(directory).permission(QFile::WriteOther)) {
        return tr("Everybody may write into this folder: nothing in it would count.");
    }
    const Certificates all = readAll(directory);
    if (!all.problem.isEmpty()) {
        return all.problem;
    }
    return all.names.isEmpty() ? tr("No certificate is in it yet: nobody is let in.") : QString();
}

QStringList NetworkConfiguration::publicCertificateNames(const QString& directory) const
{
    return QDir(directory).exists() ? readAll(directory).names : QStringList();
}
