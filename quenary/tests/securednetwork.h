// SPDX-License-Identifier: Apache-2.0
// Certificates on disk for the processes of one test, and this process among them.
#pragma once

#include "certificatefolder.h"
#include "logwatch.h"
#include "peerprocess.h"

#include <atomic>

namespace test {

class Secured : public testing::Test
{
protected:
    void SetUp() override
    {
        for (const char* const each : { "own", "known" }) {
            std::filesystem::create_directory(folder.file(each));
        }
        make("me");
    }
    void TearDown() override { qny_stop(); }

    // Keys of that name, and the public one among the known.
    void make(const std::string& name, bool isKnown = true)
    {
        ASSERT_EQ(qny_certificate_make(folder.file("own").c_str(), name.c_str(), nullptr, nullptr), QNY_SUCCESS)
            << qny_last_error();
        if (isKnown) {
            allow(name);
        }
    }
    void allow(const std::string& name, const std::string& directory = "known")
    {
        std::filesystem::create_directory(folder.file(directory));
        // Whole at once, as a person's tools do it.
        std::filesystem::copy_file(publicFile(name), folder.file(directory + "/." + name));
        std::filesystem::rename(folder.file(directory + "/." + name), folder.file(directory + "/" + name + ".cert"));
    }
    void forbid(const std::string& name)
    {
        EXPECT_TRUE(std::filesystem::remove(folder.file("known/" + name + ".cert")));
    }
    std::string publicFile(const std::string& name) const { return folder.file("own/" + name + ".cert"); }
    std::string privateFile(const std::string& name) const { return publicFile(name) + "_secret"; }
    std::string publicKey(const std::string& name) const
    {
        qny_certificate_t* read = nullptr;
        EXPECT_EQ(qny_certificate_read(publicFile(name).c_str(), &read), QNY_SUCCESS) << qny_last_error();
        std::string key = read ? read->public_key : "";
        qny_free(read);
        return key;
    }
    std::vector<std::string> by(
        const std::string& name, const std::string& directory = "known", std::vector<std::string> more = {}) const
    {
        more.insert(more.end(), { "--private", privateFile(name), "--public", folder.file(directory) });
        return more;
    }

    // This process.
    qny_result_t startMe(const std::string& peers = {}, bool multicast = true)
    {
        const std::string own = privateFile("me");
        const std::string known = folder.file("known");
        qny_options_t mine = options();
        mine.private_certificate = own.c_str();
        mine.public_certificates = known.c_str();
        mine.peers = peers.c_str();
        mine.multicast = multicast;
        qny_name_set("me");
        return qny_start(&mine);
    }
    static std::string endpoint()
    {
        char* text = qny_endpoint();
        std::string copy = text ? text : "";
        qny_free(text);
        return copy;
    }
    static std::string place() { return endpoint().substr(std::string("tcp://").size()); }
    static qny_statistics_t statistics()
    {
        qny_statistics_t values;
        qny_statistics(&values);
        return values;
    }

    CertificateFolder folder;
};

} // namespace test
