// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_SAMPLEDOCUMENT_H
#define CORVANE_SAMPLEDOCUMENT_H

#include <QtCore/QByteArray>
#include <QtCore/QString>

// The document that the host opens when none is named: the water plant with one recorder.
namespace SampleDocument {

// Its path in the user's data directory, where it is made at first use and left alone afterwards. Empty, with a
// sentence in *error, when it cannot be written.
QString provide(const QString& agentsDirectory, QString* error);

// The document for this machine: `hostName` is where its agents run, `agentsDirectory` where their programs are.
QByteArray content(const QString& hostName, const QString& agentsDirectory);

} // namespace SampleDocument

#endif
