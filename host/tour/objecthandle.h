// SPDX-License-Identifier: Apache-2.0
#ifndef CORVANE_TOUR_OBJECTHANDLE_H
#define CORVANE_TOUR_OBJECTHANDLE_H

#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QString>
#include <QtCore/QVariant>

namespace tour {

// An object of a plugin, known by its meta-object only, as a page knows it. Null once the object is gone; everything is
// allowed on a null handle and yields nothing.
class ObjectHandle
{
public:
    ObjectHandle() = default;
    explicit ObjectHandle(QObject* object)
        : _object(object)
    {
    }

    bool isNull() const { return _object.isNull(); }
    QObject* object() const { return _object.data(); }
    friend bool operator==(const ObjectHandle& left, const ObjectHandle& right)
    {
        return left.object() == right.object();
    }

    // Reading a property that is not there is a fault of the tour or the module: a warning names it.
    QVariant value(const char* property) const;
    bool isTrue(const char* property) const { return value(property).toBool(); }
    double number(const char* property) const { return value(property).toDouble(); }
    QString text(const char* property) const { return value(property).toString(); }
    ObjectHandle child(const char* property) const;
    // The items of a list model held by a property.
    QList<ObjectHandle> items(const char* property) const;
    bool set(const char* property, const QVariant& value) const;

    // Calls an invokable or slot with these arguments: objects as QObject*, the rest converted to what it takes. Empty
    // when it was called, else one sentence that says why not.
    QString call(const char* method, const QVariantList& arguments = {}) const;

private:
    QPointer<QObject> _object;
};

// As an argument of a call.
QVariant argument(const ObjectHandle& handle);

// Counts how often a signal came, named as SIGNAL() makes it. For the answers that change no property.
class SignalCounter : public QObject
{
    Q_OBJECT

public:
    SignalCounter(const ObjectHandle& sender, const char* signal);
    int count() const { return _count; }
    bool isConnected() const { return _isConnected; }

private Q_SLOTS:
    void _onSignal() { ++_count; }

private:
    int _count = 0;
    bool _isConnected = false;
};

} // namespace tour

#endif
