// SPDX-License-Identifier: Apache-2.0
// Certificates, as they lie in the folder of those who may join.
#include "fuzz.h"

#include "security/certificate.h"
#include "security/zpl.h"
#include "text.h"

#include <cctype>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace qny;

namespace {

// A regular file that lives in memory, with a path.
class File
{
public:
    File()
        : m_descriptor(memfd_create("certificate", MFD_CLOEXEC))
        , m_path("/proc/self/fd/" + std::to_string(m_descriptor))
    {
        fuzz::expect(m_descriptor >= 0 && fchmod(m_descriptor, S_IRUSR | S_IWUSR) == 0, "a file can be made");
    }
    const std::string& path() const { return m_path; }
    void fill(std::string_view text) const
    {
        fuzz::expect(ftruncate(m_descriptor, 0) == 0
                && pwrite(m_descriptor, text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()),
            "the file can be written");
    }

private:
    const int m_descriptor;
    const std::string m_path;
};

void checkText(std::string_view text)
{
    const ZplText parsed = parseZpl(text);
    fuzz::expect(parsed.problem.empty() || (parsed.problemLine >= 1 && parsed.problemLine <= parsed.lines),
        "a problem stands in a line");
    size_t line = 0;
    for (const ZplProperty& property : parsed.properties) {
        fuzz::expect(property.line > line && property.line <= parsed.lines, "the properties stand in their order");
        line = property.line;
        fuzz::expect(!property.path.empty() && property.path.size() + property.value.size() <= 2 * text.size() + 64,
            "a property is no longer than what it was read from");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const File file;
    const std::string_view text = fuzz::text(data, size);
    checkText(text);
    file.fill(text);
    Certificate asPublic;
    Certificate asPrivate;
    Certificate asAny;
    const std::string publicProblem = readCertificate(file.path(), CertificateKind::Public, asPublic);
    const std::string privateProblem = readCertificate(file.path(), CertificateKind::Private, asPrivate);
    const std::string anyProblem = readCertificate(file.path(), CertificateKind::Any, asAny);
    fuzz::expect(!publicProblem.empty() || !privateProblem.empty(), "none is both public and private");
    fuzz::expect(anyProblem.empty() == (publicProblem.empty() || privateProblem.empty()), "any is one of the two");
    fuzz::expect(!asPublic.secret.isSet && asPrivate.secret.isSet == privateProblem.empty(),
        "a secret is there when it should be");
    for (const std::string* problem : { &publicProblem, &privateProblem, &anyProblem }) {
        fuzz::expect(problem->empty() || problem->starts_with(file.path() + ":"), "what is wrong names the file");
        fuzz::expect(isUtf8(*problem) && problem->size() < 1024, "what is wrong can be shown");
    }
    if (anyProblem.empty()) {
        fuzz::expect(asAny.publicKey.size() == keyCharacters && asAny.publicKeyLine > 0, "there is a key");
        fuzz::expect(!asAny.name.empty() && asAny.name.size() <= maxNameBytes, "there is a name");
        fuzz::expect(asAny.metadata.size() <= 64, "there are not too many metadata");
    }
    return 0;
}
