// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zqproperty.h>
#include <zqquickgeneral.h>

#include <QtCore/QObject>
#include <QtCore/QString>

/// An item as lists mostly hold them: a name, a number and something constant.
class TestItem : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString name READ name WRITE setname NOTIFY nameChanged)
    Q_PROPERTY(int rank READ rank WRITE setrank NOTIFY rankChanged)
    Q_PROPERTY(int birthRank READ birthRank CONSTANT)

public:
    explicit TestItem(const QString& name = {}, int rank = 0, QObject* parent = nullptr)
        : QObject(parent)
        , _name(name)
        , _rank(rank)
        , _birthRank(rank)
    {
    }

    QString name() const { return _name; }
    int rank() const { return _rank; }
    int birthRank() const { return _birthRank; }
    void setname(const QString& name) { ZqProperty::assign(this, _name, name, &TestItem::nameChanged); }
    void setrank(int rank) { ZqProperty::assign(this, _rank, rank, &TestItem::rankChanged); }

signals:
    void nameChanged();
    void rankChanged();

private:
    QString _name;
    int _rank;
    int _birthRank;
};

/// Switches the toolkit's warnings off for a scope: the model tester asks for rows and roles that no list has.
class SilencedWarnings
{
public:
    SilencedWarnings() { ZqQuickGeneral::instance().setwarningsEnabled(false); }
    ~SilencedWarnings() { ZqQuickGeneral::instance().setwarningsEnabled(true); }
    Q_DISABLE_COPY_MOVE(SilencedWarnings)
};
