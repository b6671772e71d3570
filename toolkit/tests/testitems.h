// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <zqproperty.h>
#include <zqquickgeneral.h>
#include <zqsortfilterproxymodel.h>

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

/// Items of rank 0 and above, by rank.
class ByRank : public ZqSortFilterProxyModel
{
    Q_OBJECT

public:
    bool filterAccepts(QObject* item, int) const override { return qobject_cast<TestItem*>(item)->rank() >= 0; }
    bool isLessThan(QObject* left, int, QObject* right, int) const override
    {
        ++questions;
        const int order = qobject_cast<TestItem*>(left)->rank() - qobject_cast<TestItem*>(right)->rank();
        return descending ? order > 0 : order < 0;
    }

    mutable int questions = 0;
    bool descending = false;
};

/// The names of the items that a view shows, one after the other.
inline QString shown(const ZqSortFilterProxyModel& view)
{
    QString names;
    for (int row = 0; row < view.count(); ++row) {
        names += view.get(row)->property("name").toString();
    }
    return names;
}

/// Switches the toolkit's warnings off for a scope: the model tester asks for rows and roles that no list has.
class SilencedWarnings
{
public:
    SilencedWarnings() { ZqQuickGeneral::instance().setwarningsEnabled(false); }
    ~SilencedWarnings() { ZqQuickGeneral::instance().setwarningsEnabled(true); }
    Q_DISABLE_COPY_MOVE(SilencedWarnings)
};
