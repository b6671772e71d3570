// SPDX-License-Identifier: Apache-2.0
// For targets that use Qt: what is refused is logged, which would drown what the fuzzer says.
#pragma once

#include <QCoreApplication>
#include <QtGlobal>

namespace fuzz {

inline void beQuiet()
{
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) { });
}

// An application for what posts events to itself.
inline QCoreApplication& application()
{
    static int count = 1;
    static char name[] = "fuzz";
    static char* arguments[] = { name, nullptr };
    static QCoreApplication self(count, arguments);
    return self;
}

} // namespace fuzz
