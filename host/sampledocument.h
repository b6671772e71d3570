// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_SAMPLEDOCUMENT_H
#define CORVANE_SAMPLEDOCUMENT_H

#include <QtCore/QByteArray>
#include <QtCore/QString>

// The document that the host opens when none is named: the water plant with one recorder.
namespace SampleDocument {

// Its path in the user's data directory, where it is made at first use and is the user's afterwards; only launch lines of
// programs that have moved since are brought up to date. Empty, with a sentence in *error, when it cannot be written.
QString provide(const QString& agentsDirectory, QString* error);

// The document for this machine: `hostName` is where its agents run, `agentsDirectory` where their programs are.
QByteArray content(const QString& hostName, const QString& agentsDirectory);

// A stored document with the programs of its launch lines where they are now: the recorder `recorder`, the sample agents
// in `agentsDirectory`. Lines whose program is still there, and what is no such line, stay to the letter; so does a text
// that is not a document.
QByteArray relocated(const QByteArray& document, const QString& recorder, const QString& agentsDirectory);

} // namespace SampleDocument

#endif
