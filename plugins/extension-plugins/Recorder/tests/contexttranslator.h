// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtCore/QCoreApplication>
#include <QtCore/QTranslator>

/// While it lives, every text of one context reads "translated " and the text.
class ContextTranslator : public QTranslator
{
public:
    explicit ContextTranslator(const char* context)
        : _context(context)
    {
        QCoreApplication::installTranslator(this);
    }
    ~ContextTranslator() override { QCoreApplication::removeTranslator(this); }
    Q_DISABLE_COPY_MOVE(ContextTranslator)

    QString translate(const char* context, const char* text, const char*, int) const override
    {
        return qstrcmp(context, _context) == 0 ? QLatin1StringView("translated ") + QString::fromUtf8(text) : QString();
    }
    bool isEmpty() const override { return false; }

private:
    const char* const _context;
};
