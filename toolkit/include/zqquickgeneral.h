// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "zqtoolkit_global.h"

#include <QtCore/QObject>

class QJSEngine;
class QQmlEngine;

/// The toolkit's settings: one object a process, owned by the library and never by a QML engine.
/// A switch that is off silences the toolkit's messages of that kind and changes nothing else. Main thread only.
class ZQTOOLKIT_EXPORT ZqQuickGeneral : public QObject
{
    Q_OBJECT

    /// Whether the toolkit prints its warnings (misuse that it refused). On by default.
    Q_PROPERTY(bool warningsEnabled READ warningsEnabled WRITE setwarningsEnabled NOTIFY warningsEnabledChanged FINAL)

    /// Whether the toolkit prints its errors (classes that can not work as written). On by default.
    Q_PROPERTY(bool errorsEnabled READ errorsEnabled WRITE seterrorsEnabled NOTIFY errorsEnabledChanged FINAL)

public:
    /// The process-wide object, created on first use.
    static ZqQuickGeneral& instance();

    /// Factory for qmlRegisterSingletonType: gives every engine the same object.
    static QObject* qmlSingleton(QQmlEngine* engine, QJSEngine* scriptEngine);

    bool warningsEnabled() const { return _warningsEnabled; }
    bool errorsEnabled() const { return _errorsEnabled; }

public slots:
    void setwarningsEnabled(bool warningsEnabled);
    void seterrorsEnabled(bool errorsEnabled);

signals:
    void warningsEnabledChanged();
    void errorsEnabledChanged();

private:
    ZqQuickGeneral();

    bool _warningsEnabled = true;
    bool _errorsEnabled = true;
};
