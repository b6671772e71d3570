// SPDX-License-Identifier: Apache-2.0
#include "request.h"

#include <QFileInfo>
#include <QRegularExpression>

namespace launcher {

namespace {

constexpr qsizetype MOST_SHOWN = 200;

/// A foreign text as a message may hold it: one line, not endless.
QString shown(const QString& text)
{
    QString line = text.left(MOST_SHOWN);
    for (QChar& character : line) {
        if (character.category() == QChar::Other_Control) {
            character = u' ';
        }
    }
    return text.size() > MOST_SHOWN ? line + u'…' : line;
}

QString listed(const Configuration& configuration)
{
    QStringList paths;
    for (const Program& program : configuration.programs) {
        paths.append(program.path);
    }
    return paths.isEmpty() ? QStringLiteral("nothing at all") : paths.join(QStringLiteral(", "));
}

} // namespace

bool isPlainUuid(const QString& text)
{
    static const QRegularExpression form(
        QStringLiteral("\\A[0-9a-fA-F]{8}-[0-9a-fA-F]{4}-[0-9a-fA-F]{4}-[0-9a-fA-F]{4}-[0-9a-fA-F]{12}\\z"));
    return form.match(text).hasMatch();
}

QString refusalOf(Request& request, const Configuration& configuration)
{
    if (!isPlainUuid(request.launchUuid)) {
        return QStringLiteral("The request names no launch: '%1' is no uuid.").arg(shown(request.launchUuid));
    }
    qsizetype bytes = request.program.toUtf8().size();
    for (const QString& argument : request.arguments) {
        bytes += argument.toUtf8().size() + 1;
    }
    if (request.arguments.size() > MOST_ARGUMENTS || bytes > MOST_REQUEST_BYTES) {
        return QStringLiteral("The launch line is too long: at most %1 arguments and %2 bytes are taken.")
            .arg(MOST_ARGUMENTS)
            .arg(MOST_REQUEST_BYTES);
    }
    const QFileInfo file(request.program);
    const QString canonical = file.isAbsolute() ? file.canonicalFilePath() : QString();
    const Program* const program = configuration.find(canonical);
    if (program != nullptr) {
        request.program = program->path;
        return {};
    }
    // Whether a file exists that may not be started is nobody's business.
    return QStringLiteral("%1 is not among the programs that may be started on this machine: %2.")
        .arg(shown(request.program), listed(configuration));
}

} // namespace launcher
