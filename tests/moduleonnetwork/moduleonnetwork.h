// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "recordermodule.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>

/// An open document with one empty view and the module on it, on a network of its own on the loopback device. What the
/// module is in the host, without pages. One at a time in a process.
class ModuleOnNetwork
{
public:
    ModuleOnNetwork();
    ~ModuleOnNetwork();
    Q_DISABLE_COPY_MOVE(ModuleOnNetwork)

    /// Why there is no network; empty when there is one.
    QString problem() const { return _problem; }
    RecorderModule& module() { return *_module; }

    /// Places a recorder in the view, with this launch line on this machine. It is linked when an agent of its name
    /// runs.
    RecorderInstance* place(const QString& name, const QString& program, const QStringList& arguments);

private:
    static void _settle();

    std::unique_ptr<RecorderModule> _module;
    QString _problem;
};
