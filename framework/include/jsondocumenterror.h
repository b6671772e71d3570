// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "corvaneframework_global.h"

#include <QString>

/// One thing that was wrong in a document, in a sentence that a person can act on. Loading collects them and goes on.
class CORVANE_EXPORT JsonDocumentError
{
public:
    JsonDocumentError() = default;
    explicit JsonDocumentError(const QString& message)
        : _message(message)
    {
    }

    const QString& message() const { return _message; }

    friend bool operator==(const JsonDocumentError& left, const JsonDocumentError& right)
    {
        return left._message == right._message;
    }

private:
    QString _message;
};
