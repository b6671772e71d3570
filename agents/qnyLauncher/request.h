// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "configuration.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace launcher {

constexpr qsizetype MOST_ARGUMENTS = 256;
constexpr qsizetype MOST_REQUEST_BYTES = 64 * 1024;

/// Somebody asks for an agent.
struct Request
{
    QString launchUuid;
    QString program;
    QStringList arguments;
    QByteArray askerUuid; // of the agent that asks
    QString askerName;
};

/// Why a request is refused, a sentence for the person who asked; or nothing, and the program is the canonical one.
/// Whether the launch runs already, and how many do, is not looked at.
QString refusalOf(Request& request, const Configuration& configuration);

/// Whether the text is a uuid in its plain form, and so may name a folder.
bool isPlainUuid(const QString& text);

} // namespace launcher
