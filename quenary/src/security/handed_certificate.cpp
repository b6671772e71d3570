// SPDX-License-Identifier: Apache-2.0
#include "security/handed_certificate.h"

#include "handed_out.h"

namespace qny {

namespace {
thread_local CallerScope* currentScope = nullptr;
} // namespace

qny_certificate_t* handOut(const Certificate& certificate)
{
    const size_t pointers = 2 * certificate.metadata.size() + 1;
    size_t bytes = sizeof(qny_certificate_t) + pointers * sizeof(char*) + certificate.path.size()
        + certificate.name.size() + certificate.publicKey.size() + 3;
    for (const auto& [name, value] : certificate.metadata) {
        bytes += name.size() + value.size() + 2;
    }
    auto* made = static_cast<qny_certificate_t*>(allocate(bytes));
    auto** list = reinterpret_cast<const char**>(made + 1);
    char* text = reinterpret_cast<char*>(list + pointers);
    const auto put = [&text](const std::string& from) {
        char* at = text;
        std::memcpy(at, from.c_str(), from.size() + 1);
        text += from.size() + 1;
        return at;
    };
    made->path = put(certificate.path);
    made->name = put(certificate.name);
    made->public_key = put(certificate.publicKey);
    made->is_private = certificate.secret.isSet;
    made->metadata = list;
    for (const auto& [name, value] : certificate.metadata) {
        *list++ = put(name);
        *list++ = put(value);
    }
    *list = nullptr;
    return made;
}

CallerScope::CallerScope(const Certificate* caller)
    : m_caller(caller)
{
    currentScope = this;
}

CallerScope::~CallerScope()
{
    currentScope = nullptr;
    std::free(m_handedOut); // NOLINT: see handed_out.h
}

const qny_certificate_t* CallerScope::certificate()
{
    if (!currentScope || !currentScope->m_caller) {
        return nullptr;
    }
    if (!currentScope->m_handedOut) {
        currentScope->m_handedOut = handOut(*currentScope->m_caller);
    }
    return currentScope->m_handedOut;
}

} // namespace qny
