// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "agent.h"
#include "rows.h"

/// What the recorder saw, a JSON object a line on standard output. Any thread.
namespace scripted {

/// {"event":"ready"}: it is on the network, and has met the host there.
void reportReady();
/// {"event":"call","service":…,"arguments":[…],"token":…,"at_ms":…}. Rows of an import are told by their bytes.
/// at_ms: milliseconds on this machine's monotonic clock.
void reportCall(const Call& call);
/// {"event":"rows","rows":…,"bytes":…,"digest":…}
void reportRows(const RowDigest& rows);
/// {"event":"problem","text":…}
void reportProblem(const QString& text);

} // namespace scripted
