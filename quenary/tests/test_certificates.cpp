// SPDX-License-Identifier: Apache-2.0
// Certificates: made, read, and refused with file and line.
#include "certificatefolder.h"
#include "logwatch.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>
#include <zmq.h>

using namespace test;

namespace {

struct Keys
{
    Keys()
    {
        std::array<char, 41> publicText {};
        std::array<char, 41> secretText {};
        EXPECT_EQ(zmq_curve_keypair(publicText.data(), secretText.data()), 0);
        publicKey = publicText.data();
        secretKey = secretText.data();
    }
    std::string publicKey;
    std::string secretKey;
};

std::string curve(const std::string& publicKey, const std::string& secretKey = {})
{
    return "curve\n    public-key = \"" + publicKey + "\"\n"
        + (secretKey.empty() ? "" : "    secret-key = \"" + secretKey + "\"\n");
}

// The sentence with which the file is refused; empty when it is not.
std::string refusal(const std::string& path)
{
    qny_certificate_t* certificate = nullptr;
    const qny_result_t result = qny_certificate_read(path.c_str(), &certificate);
    EXPECT_TRUE(result == QNY_SUCCESS || result == QNY_ERROR_SECURITY) << result;
    EXPECT_EQ(certificate != nullptr, result == QNY_SUCCESS);
    qny_free(certificate);
    return result == QNY_SUCCESS ? "" : qny_last_error();
}

struct Outcome
{
    int status = -1;
    std::string output;
    std::string error;
};

Outcome runTool(const CertificateFolder& folder, const std::vector<std::string>& arguments)
{
    int out[2];
    int error[2];
    EXPECT_EQ(pipe(out) + pipe(error), 0);
    const pid_t child = fork();
    if (child == 0) {
        dup2(out[1], STDOUT_FILENO);
        dup2(error[1], STDERR_FILENO);
        for (int fd : { out[0], out[1], error[0], error[1] }) {
            close(fd);
        }
        umask(0);
        std::vector<char*> argv { const_cast<char*>(QNY_CERTIFICATES) };
        for (const std::string& each : arguments) {
            argv.push_back(const_cast<char*>(each.c_str()));
        }
        argv.push_back(nullptr);
        if (chdir(folder.path.c_str()) == 0) {
            execv(argv[0], argv.data());
        }
        _exit(127);
    }
    close(out[1]);
    close(error[1]);
    Outcome outcome;
    const auto readAll = [](int fd, std::string& into) {
        char buffer[4096];
        for (ssize_t count = 0; (count = read(fd, buffer, sizeof buffer)) > 0;) {
            into.append(buffer, static_cast<size_t>(count));
        }
        close(fd);
    };
    std::thread errors([&] { readAll(error[0], outcome.error); });
    readAll(out[0], outcome.output);
    errors.join();
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

} // namespace

TEST(Certificates, WhatWasMadeIsReadAgain)
{
    const CertificateFolder folder;
    const char* const metadata[] = { "organization", "Plant ß", "role", "operator", nullptr };
    qny_certificate_t* made = nullptr;
    ASSERT_EQ(qny_certificate_make(folder.path.c_str(), "control room", metadata, &made), QNY_SUCCESS)
        << qny_last_error();
    EXPECT_EQ(made->path, folder.file("control room.cert_secret"));
    EXPECT_TRUE(made->is_private);
    for (const char* const file : { "control room.cert", "control room.cert_secret" }) {
        qny_certificate_t* read = nullptr;
        ASSERT_EQ(qny_certificate_read(folder.file(file).c_str(), &read), QNY_SUCCESS) << qny_last_error();
        EXPECT_STREQ(read->path, folder.file(file).c_str());
        EXPECT_STREQ(read->name, "control room");
        EXPECT_STREQ(read->public_key, made->public_key);
        EXPECT_EQ(read->is_private, std::string(file).ends_with("_secret"));
        std::vector<std::string> all;
        for (const char* const* each = read->metadata; *each; ++each) {
            all.emplace_back(*each);
        }
        EXPECT_EQ(
            all, (std::vector<std::string> { "name", "control room", "organization", "Plant ß", "role", "operator" }));
        qny_free(read);
    }
    qny_free(made);
}

TEST(Certificates, TwoOfThemHaveDifferentKeys)
{
    const CertificateFolder folder;
    qny_certificate_t* first = nullptr;
    qny_certificate_t* second = nullptr;
    ASSERT_EQ(qny_certificate_make(folder.path.c_str(), "a", nullptr, &first), QNY_SUCCESS);
    ASSERT_EQ(qny_certificate_make(folder.path.c_str(), "b", nullptr, &second), QNY_SUCCESS);
    EXPECT_STRNE(first->public_key, second->public_key);
    EXPECT_EQ(std::strlen(first->public_key), 40U);
    qny_free(first);
    qny_free(second);
}

TEST(Certificates, ThePrivateFileIsItsOwnersAloneWhateverTheUmask)
{
    const CertificateFolder folder;
    const mode_t before = umask(0);
    EXPECT_EQ(qny_certificate_make(folder.path.c_str(), "open", nullptr, nullptr), QNY_SUCCESS);
    umask(0777);
    EXPECT_EQ(qny_certificate_make(folder.path.c_str(), "closed", nullptr, nullptr), QNY_SUCCESS);
    umask(before);
    for (const std::string name : { "open", "closed" }) {
        EXPECT_EQ(folder.mode(name + ".cert_secret"), 0600U);
        EXPECT_EQ(folder.mode(name + ".cert"), 0644U);
    }
}

TEST(Certificates, NothingIsOverwrittenAndNoHalfPairIsLeft)
{
    const CertificateFolder folder;
    folder.write("only-public.cert", "precious");
    EXPECT_EQ(qny_certificate_make(folder.path.c_str(), "only-public", nullptr, nullptr), QNY_ERROR_EXISTS);
    EXPECT_NE(std::string(qny_last_error()).find(folder.file("only-public.cert")), std::string::npos);
    folder.write("only-private.cert_secret", "precious");
    EXPECT_EQ(qny_certificate_make(folder.path.c_str(), "only-private", nullptr, nullptr), QNY_ERROR_EXISTS);
    EXPECT_EQ(folder.read("only-public.cert"), "precious");
    EXPECT_EQ(folder.read("only-private.cert_secret"), "precious");
    // Nothing hidden is left either.
    size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path)) {
        files += entry.is_regular_file() ? 1 : 0;
    }
    EXPECT_EQ(files, 2U);
}

TEST(Certificates, WhatCannotBeWrittenIsSaid)
{
    const CertificateFolder folder;
    EXPECT_EQ(qny_certificate_make(folder.file("missing").c_str(), "a", nullptr, nullptr), QNY_ERROR_SYSTEM);
    EXPECT_NE(std::string(qny_last_error()).find(folder.file("missing")), std::string::npos) << qny_last_error();
    for (const std::string name : { "", "..", ".hidden", "a/b", " a", "-a", "a\nb", "\xff" }) {
        EXPECT_EQ(qny_certificate_make(folder.path.c_str(), name.c_str(), nullptr, nullptr), QNY_ERROR_ARGUMENT)
            << name;
    }
    for (const auto& [name, value] : { std::pair("a b", "x"), std::pair("a", "x\"y"), std::pair("a", "x\ny"),
             std::pair("", "x"), std::pair("name", "other"), std::pair("a", "\xff") }) {
        const char* const metadata[] = { name, value, nullptr };
        EXPECT_EQ(qny_certificate_make(folder.path.c_str(), "a", metadata, nullptr), QNY_ERROR_ARGUMENT) << value;
    }
    const char* const halfAPair[] = { "role", nullptr };
    EXPECT_EQ(qny_certificate_make(folder.path.c_str(), "a", halfAPair, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path));
}

TEST(Certificates, NullsAreErrors)
{
    const CertificateFolder folder;
    qny_certificate_t* certificate = nullptr;
    EXPECT_EQ(qny_certificate_make(nullptr, "a", nullptr, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_certificate_make("", "a", nullptr, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_certificate_make(folder.path.c_str(), nullptr, nullptr, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_certificate_read(nullptr, &certificate), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(qny_certificate_read("a", nullptr), QNY_ERROR_ARGUMENT);
}

TEST(Certificates, TheUsualFormsOfTheTextAreRead)
{
    const CertificateFolder folder;
    const Keys keys;
    const std::string head = "#   ****  Generated on 2026-01-01 by hand  ****\n#   CURVE Secret Certificate\n\n";
    const std::string usual = head + "metadata\n    name = \"Ada\"\n    role = 'chief # one'   # not a part of it\n"
        + curve(keys.publicKey, keys.secretKey);
    std::string windows = "\xEF\xBB\xBF";
    for (const char c : usual) {
        windows += c == '\n' ? "\r\n" : std::string(1, c);
    }
    const std::string more = "version = 1.0\n" + usual + "    later-key = x\nserver\n    bind\n        address = all\n";
    for (const std::string& text : { usual, windows, more, usual.substr(0, usual.size() - 1) }) {
        qny_certificate_t* read = nullptr;
        ASSERT_EQ(qny_certificate_read(folder.write("file.txt", text).c_str(), &read), QNY_SUCCESS) << qny_last_error();
        EXPECT_STREQ(read->name, "Ada");
        EXPECT_EQ(read->public_key, keys.publicKey);
        EXPECT_TRUE(read->is_private);
        EXPECT_STREQ(read->metadata[3], "chief # one");
        qny_free(read);
    }
    // Without a name in it, it is called as its file.
    for (const auto& [file, name] : { std::pair("pump.7.cert_secret", "pump.7"), std::pair("pump", "pump") }) {
        qny_certificate_t* read = nullptr;
        ASSERT_EQ(qny_certificate_read(folder.write(file, curve(keys.publicKey, keys.secretKey)).c_str(), &read),
            QNY_SUCCESS);
        EXPECT_STREQ(read->name, name);
        qny_free(read);
    }
}

TEST(Certificates, WhatIsWrongInAFileIsRefusedWithItsLine)
{
    const CertificateFolder folder;
    const Keys keys;
    const Keys others;
    const std::string zeros(40, '0');
    // A point of small order: no secret belongs to it.
    std::array<uint8_t, 32> one { 1 };
    std::array<char, 41> weak {};
    ASSERT_NE(zmq_z85_encode(weak.data(), one.data(), one.size()), nullptr);
    const struct
    {
        std::string text;
        size_t line;
        std::string says;
    } table[] {
        { "", 1, "no section curve" },
        { "metadata\n    name = \"x\"\n", 2, "no section curve" },
        { "# one\ncurve\n", 2, "no public-key" },
        { "public-key = \"" + keys.publicKey + "\"\n", 1, "no section curve" },
        { curve("short"), 2, "public key is not 40 characters" },
        { curve(keys.publicKey + "0"), 2, "public key is not 40 characters" },
        { curve(keys.publicKey.substr(0, 39) + "~"), 2, "public key is not 40 characters" },
        { curve(keys.publicKey.substr(0, 39) + " "), 2, "public key is not 40 characters" },
        // Beyond what 32 bytes can be: decodes to some other key's bytes.
        { curve("#####" + keys.publicKey.substr(5)), 2, "public key is not 40 characters" },
        { curve(zeros), 2, "public key is all zeros" },
        { curve(weak.data()), 2, "protect nothing" },
        { curve(keys.publicKey, zeros), 3, "secret key is all zeros" },
        { curve(keys.publicKey, "x"), 3, "secret key is not 40 characters" },
        { curve(keys.publicKey, others.secretKey), 3, "does not belong to the public key in line 2" },
        { curve(keys.publicKey, keys.publicKey), 3, "does not belong to the public key in line 2" },
        { curve(keys.publicKey) + "    public-key = \"" + keys.publicKey + "\"\n", 3, "the first stands in line 2" },
        { curve(keys.publicKey) + curve(others.publicKey), 4, "the first stands in line 2" },
        { curve(keys.publicKey, keys.secretKey) + "    secret-key = \"\"\n", 4, "the first stands in line 3" },
        { "metadata\n    name = \"x\"\n    name = \"y\"\n" + curve(keys.publicKey), 3, "a second time" },
        { "metadata\n    name = \"\"\n" + curve(keys.publicKey), 2, "1 to 255 bytes" },
        { "metadata\n    a = \"" + std::string(1025, 'x') + "\"\n" + curve(keys.publicKey), 2, "at most 1024 bytes" },
        { "metadata\n    name = \"\xC2\x9B"
          "31mred\"\n"
                + curve(keys.publicKey),
            2, "control characters" },
        { "metadata\n    name = \"a\xE2\x80\xAE"
          "b\"\n"
                + curve(keys.publicKey),
            2, "control characters" },
        { "metadata\n    a\n        b = 1\n" + curve(keys.publicKey), 3, "letters, digits" },
        { "curve\n  public-key = \"" + keys.publicKey + "\"\n", 2, "four spaces" },
        { "curve\n\tpublic-key = \"" + keys.publicKey + "\"\n", 2, "tab" },
        { "curve\n        public-key = \"" + keys.publicKey + "\"\n", 2, "four spaces" },
        { "curve\n    public-key = \"" + keys.publicKey + "\n", 2, "not closed" },
        { "curve\n    public-key = \"" + keys.publicKey + "\" x\n", 2, "follows the value" },
        { "curve\n    public-key \"" + keys.publicKey + "\"\n", 2, "name = value" },
        { "curve\n    = x\n", 2, "name = value" },
        { std::string("curve\n\0\n", 8), 2, "no text" },
        { "curve\n\xff\n", 2, "no text" },
        { "\x7f"
          "ELF\n",
            1, "no text" },
    };
    for (const auto& row : table) {
        const std::string path = folder.write("bad.cert", row.text);
        const std::string said = refusal(path);
        EXPECT_TRUE(said.starts_with(path + ":" + std::to_string(row.line) + ": ")) << said << "\n" << row.text;
        EXPECT_NE(said.find(row.says), std::string::npos) << said << "\n" << row.text;
        EXPECT_EQ(said.find(keys.secretKey), std::string::npos) << "a secret in a message";
    }
    EXPECT_EQ(refusal(folder.write("good.cert", curve(keys.publicKey, keys.secretKey))), "");
}

TEST(Certificates, ManyMetadataAreRefusedAtTheFirstTooMany)
{
    const CertificateFolder folder;
    std::string text = "metadata\n";
    for (int i = 0; i < 65; ++i) {
        text += "    m" + std::to_string(i) + " = 1\n";
    }
    const std::string path = folder.write("many.cert", text + curve(Keys().publicKey));
    EXPECT_TRUE(refusal(path).starts_with(path + ":66: ")) << refusal(path);
}

TEST(Certificates, APrivateFileThatOthersMayUseIsRefused)
{
    const CertificateFolder folder;
    const Keys keys;
    for (const mode_t mode : { 0604, 0640, 0620, 0602, 0610, 0644 }) {
        const std::string path = folder.write("private.cert_secret", curve(keys.publicKey, keys.secretKey), mode);
        const std::string said = refusal(path);
        EXPECT_TRUE(said.starts_with(path + ": others than its owner")) << said;
        EXPECT_NE(said.find("chmod 600"), std::string::npos) << said;
    }
    for (const mode_t mode : { 0600, 0400 }) {
        EXPECT_EQ(refusal(folder.write("private.cert_secret", curve(keys.publicKey, keys.secretKey), mode)), "");
    }
    EXPECT_EQ(refusal(folder.write("public.cert", curve(keys.publicKey), 0644)), "");
    const std::string path = folder.write("public.cert", curve(keys.publicKey), 0646);
    EXPECT_TRUE(refusal(path).starts_with(path + ": anybody may write into it")) << refusal(path);
}

TEST(Certificates, WhatIsNoFileIsRefusedAndHoldsNobodyUp)
{
    const CertificateFolder folder;
    EXPECT_NE(refusal(folder.file("missing")).find("No such file"), std::string::npos);
    EXPECT_NE(refusal(folder.path).find("no regular file"), std::string::npos);
    ASSERT_EQ(mkfifo(folder.file("pipe").c_str(), 0600), 0);
    EXPECT_NE(refusal(folder.file("pipe")).find("no regular file"), std::string::npos);
    EXPECT_NE(refusal(folder.write("large", std::string(65 * 1024, '#'))).find("larger"), std::string::npos);
}

struct Findings
{
    std::vector<std::string> names;
    std::vector<std::string> problems;
};

qny_result_t check(const std::string& directory, Findings& findings)
{
    const auto take = [](const qny_certificate_t* certificate, const char* problem, void* into) {
        auto* const to = static_cast<Findings*>(into);
        EXPECT_NE(certificate == nullptr, problem == nullptr);
        if (certificate) {
            to->names.emplace_back(certificate->name);
        } else {
            to->problems.emplace_back(problem);
        }
    };
    return qny_certificates_check(directory.c_str(), take, &findings);
}

TEST(Certificates, ADirectoryIsToldAsAProcessTakesItAndNothingIsLogged)
{
    const CertificateFolder folder;
    LogWatch log;
    ASSERT_EQ(qny_certificate_make(folder.path.c_str(), "valve", nullptr, nullptr), QNY_SUCCESS);
    ASSERT_EQ(qny_certificate_make(folder.path.c_str(), "pump", nullptr, nullptr), QNY_SUCCESS);
    folder.write(".hidden.cert", "nonsense");
    folder.write("pump.cert~", "nonsense");
    Findings findings;
    ASSERT_EQ(check(folder.path, findings), QNY_SUCCESS) << qny_last_error();
    EXPECT_EQ(findings.names, (std::vector<std::string> { "pump", "valve" }));
    EXPECT_TRUE(findings.problems.empty());

    // One that is none, a private one under another name, and one key in two files.
    folder.write("broken.cert", "curve\n    public-key = nonsense\n");
    folder.write("tank.cert", folder.read("valve.cert_secret"));
    folder.write("pump-too.cert", folder.read("pump.cert"));
    findings = {};
    ASSERT_EQ(check(folder.path, findings), QNY_SUCCESS) << qny_last_error();
    EXPECT_EQ(findings.names.size(), 2U);
    ASSERT_EQ(findings.problems.size(), 3U);
    const auto tells = [&findings](const std::string& begin, const std::string& more) {
        return std::ranges::any_of(findings.problems, [&](const std::string& problem) {
            return problem.starts_with(begin) && problem.find(more) != std::string::npos;
        });
    };
    EXPECT_TRUE(tells(folder.file("broken.cert:2: "), "lets nobody in."));
    EXPECT_TRUE(tells(folder.file("tank.cert:"), "there is a secret key in it"));
    EXPECT_TRUE(tells(folder.file("pump"), "this public key stands in")) << findings.problems.back();

    findings = {};
    EXPECT_EQ(check(folder.file("missing"), findings), QNY_ERROR_SECURITY);
    EXPECT_NE(std::string(qny_last_error()).find("cannot be read"), std::string::npos);
    EXPECT_EQ(qny_certificates_check(folder.path.c_str(), nullptr, nullptr), QNY_ERROR_ARGUMENT);
    EXPECT_EQ(check("", findings), QNY_ERROR_ARGUMENT);
    EXPECT_TRUE(findings.names.empty() && findings.problems.empty());
    EXPECT_EQ(log.all(), "");
}

TEST(Certificates, WhatAnybodyMayExchangeFromAFolderAboveIsRefused)
{
    const CertificateFolder folder;
    const std::string keys = folder.file("shared/keys");
    std::filesystem::create_directories(keys);
    ASSERT_EQ(chmod(keys.c_str(), 0700), 0);
    ASSERT_EQ(qny_certificate_make(keys.c_str(), "pump", nullptr, nullptr), QNY_SUCCESS);
    const std::string secret = keys + "/pump.cert_secret";
    std::filesystem::create_symlink(secret, folder.file("link"));
    const auto above = [](const std::string& path) {
        const std::unique_ptr<char, decltype(&qny_free)> open(qny_open_folder_above(path.c_str()), &qny_free);
        return open ? std::string(open.get()) : std::string();
    };
    const std::string shared = folder.file("shared");
    for (const auto& [mode, open] : { std::pair(0777U, true), std::pair(01777U, false), std::pair(0755U, false) }) {
        ASSERT_EQ(chmod(shared.c_str(), mode), 0);
        // The link lies elsewhere: what it leads to counts.
        for (const std::string& path : { secret, folder.file("link") }) {
            EXPECT_EQ(above(path), open ? shared : "") << path << " below " << std::oct << mode;
            EXPECT_EQ(refusal(path),
                open ? path + ": anybody may write into " + shared
                        + ", and so put another file in its place; take that away with chmod o-w."
                     : "");
        }
        EXPECT_EQ(refusal(keys + "/pump.cert"), "") << "a public one alone proves nothing";
        Findings findings;
        EXPECT_EQ(check(keys, findings), open ? QNY_ERROR_SECURITY : QNY_SUCCESS);
    }
    EXPECT_EQ(above("/"), "");
    EXPECT_EQ(qny_open_folder_above(nullptr), nullptr);
}

TEST(CertificatesTool, MakesAndShowsThem)
{
    const CertificateFolder folder;
    const Outcome made = runTool(folder, { "make", "pump", "--metadata", "role=operator" });
    EXPECT_EQ(made.status, 0) << made.error;
    EXPECT_EQ(made.error, "");
    EXPECT_EQ(folder.mode("pump.cert_secret"), 0600U);
    qny_certificate_t* certificate = nullptr;
    ASSERT_EQ(qny_certificate_read(folder.file("pump.cert_secret").c_str(), &certificate), QNY_SUCCESS);
    const std::string publicKey = certificate->public_key;
    qny_free(certificate);
    const Outcome shown = runTool(folder, { "show", "pump.cert", "pump.cert_secret" });
    EXPECT_EQ(shown.status, 0) << shown.error;
    EXPECT_NE(shown.output.find("public key  " + publicKey), std::string::npos) << shown.output;
    EXPECT_NE(shown.output.find("kind        public"), std::string::npos) << shown.output;
    EXPECT_NE(shown.output.find("kind        private"), std::string::npos) << shown.output;
    EXPECT_NE(shown.output.find("role        operator"), std::string::npos) << shown.output;
    // Both halves may hold a "=".
    const std::string name = "secret-key = \"";
    const std::string written = folder.read("pump.cert_secret");
    const size_t at = written.find(name);
    ASSERT_NE(at, std::string::npos) << "no secret half was written";
    const std::string secret = written.substr(at + name.size(), 40);
    ASSERT_EQ(written.substr(at + name.size() + 40, 1), "\"");
    EXPECT_EQ(shown.output.find(secret), std::string::npos) << "the secret half was shown";

    std::filesystem::create_directory(folder.file("others"));
    EXPECT_EQ(runTool(folder, { "make", "valve", "--output", folder.file("others") }).status, 0);
    folder.write("others/broken.cert", "curve\n    public-key = nonsense\n");
    const Outcome all = runTool(folder, { "show", "others" });
    EXPECT_EQ(all.status, 1);
    EXPECT_NE(all.output.find("valve.cert\n"), std::string::npos) << all.output;
    EXPECT_NE(all.output.find("valve.cert_secret\n"), std::string::npos) << all.output;
    EXPECT_NE(all.error.find("others/broken.cert:2: "), std::string::npos) << all.error;
    EXPECT_EQ(std::ranges::count(all.error, '\n'), 1) << all.error;

    // A folder above that anybody may write into makes all of it worthless.
    ASSERT_EQ(chmod(folder.path.c_str(), 0777), 0);
    const Outcome open = runTool(folder, { "show", folder.file("others") });
    EXPECT_EQ(open.status, 1);
    EXPECT_NE(open.error.find("anybody may write into " + folder.path + " above this directory"), std::string::npos)
        << open.error;
    EXPECT_NE(open.error.find("valve.cert_secret: anybody may write into " + folder.path), std::string::npos)
        << open.error;
    EXPECT_EQ(open.output, "");
}

TEST(CertificatesTool, TellsNothingThatControlsATerminal)
{
    const CertificateFolder folder;
    EXPECT_EQ(runTool(folder, { "make", "pump" }).status, 0);
    const std::string certificate = folder.read("pump.cert");
    std::string nameless = certificate;
    nameless.replace(nameless.find("name = \"pump\""), 13, "other = \"pump\"");
    std::filesystem::create_directory(folder.file("others"));
    folder.write("others/\x1b[31mred\xC2\x9B\n.cert", certificate);
    folder.write("others/broken\x1b[2J.cert", "nonsense");
    folder.write("others/nameless\x1b[2J.cert", nameless);
    const Outcome all = runTool(folder, { "show", "others" });
    EXPECT_EQ(all.status, 1);
    EXPECT_NE(all.output.find("others/?[31mred??.cert\n"), std::string::npos) << all.output;
    EXPECT_NE(all.error.find("others/broken?[2J.cert:1: "), std::string::npos) << all.error;
    EXPECT_NE(all.error.find("give the file another one"), std::string::npos) << all.error;
    for (const std::string& text : { all.output, all.error }) {
        EXPECT_EQ(text.find('\x1b'), std::string::npos);
        EXPECT_EQ(text.find('\xC2'), std::string::npos);
    }
}

TEST(CertificatesTool, SaysInOneLineWhatIsWrong)
{
    const CertificateFolder folder;
    const struct
    {
        std::vector<std::string> arguments;
        int status;
    } table[] {
        { {}, 2 },
        { { "burn" }, 2 },
        { { "make" }, 2 },
        { { "make", "a", "b" }, 2 },
        { { "make", "--output" }, 2 },
        { { "make", "a", "--metadata", "role" }, 2 },
        { { "make", "a/b" }, 2 },
        { { "make", "a", "--colour" }, 2 },
        { { "show" }, 2 },
        { { "show", "missing.cert" }, 1 },
        { { "make", "a", "--output", "missing" }, 1 },
    };
    for (const auto& row : table) {
        const Outcome outcome = runTool(folder, row.arguments);
        EXPECT_EQ(outcome.status, row.status) << outcome.error;
        EXPECT_TRUE(outcome.error.starts_with("qnyCertificates: ")) << outcome.error;
        EXPECT_EQ(std::ranges::count(outcome.error, '\n'), 1) << outcome.error;
        EXPECT_EQ(outcome.output, "");
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder.path));
    EXPECT_EQ(runTool(folder, { "make", "a" }).status, 0);
    EXPECT_EQ(runTool(folder, { "make", "a" }).status, 1) << "an existing certificate is kept";
    EXPECT_EQ(runTool(folder, { "--help" }).status, 0);
    EXPECT_EQ(runTool(folder, { "--version" }).output, std::string("qnyCertificates ") + qny_version() + "\n");
}
