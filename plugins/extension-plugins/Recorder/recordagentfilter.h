// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QObject>
#include <QtCore/QString>

/// One agent of a loaded record, with its check mark: whether a replay lets the agent through.
///
/// Owned by its record, and never by a QML engine; lives until the record is loaded anew or unloaded. Main thread only.
class RecordAgentFilter : public QObject
{
    Q_OBJECT

    /// The agent's name on the network.
    Q_PROPERTY(QString name READ name CONSTANT FINAL)

    /// True at construction.
    Q_PROPERTY(bool checked READ checked WRITE setchecked NOTIFY checkedChanged FINAL)

public:
    explicit RecordAgentFilter(const QString& name, QObject* parent = nullptr);
    ~RecordAgentFilter() override;

    const QString& name() const { return _name; }
    bool checked() const { return _checked; }

public slots:
    void setchecked(bool checked);

signals:
    void checkedChanged();

private:
    const QString _name;
    bool _checked = true;
};
