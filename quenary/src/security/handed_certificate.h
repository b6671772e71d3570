// SPDX-License-Identifier: Apache-2.0
// Certificates as callers of the library see them.
#pragma once

#include "quenary.h"

#include "security/certificate.h"

namespace qny {

// In one piece of memory: one qny_free() gives all back. Never the secret half.
qny_certificate_t* handOut(const Certificate& certificate);

// While it lives, callbacks on this thread can ask who calls.
class CallerScope
{
public:
    // Null: nobody knows.
    explicit CallerScope(const Certificate* caller);
    ~CallerScope();
    CallerScope(const CallerScope&) = delete;
    CallerScope& operator=(const CallerScope&) = delete;

    static const qny_certificate_t* certificate();

private:
    const Certificate* m_caller;
    qny_certificate_t* m_handedOut = nullptr; // made when it is asked for
};

} // namespace qny
