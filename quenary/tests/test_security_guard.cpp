// SPDX-License-Identifier: Apache-2.0
// What becomes of a start whose sockets ZeroMQ does not secure.
#include "certificatefolder.h"
#include "security/security.h"

using namespace qny;

TEST(SecurityGuard, ASocketThatCannotBeSecuredIsAnErrorOfSecurity)
{
    const test::CertificateFolder folder;
    ASSERT_EQ(qny_certificate_make(folder.path.c_str(), "own", nullptr, nullptr), QNY_SUCCESS);
    const auto opened = [&folder] {
        std::unique_ptr<Security> security;
        EXPECT_EQ(Security::open(folder.file("own.cert_secret"), folder.path, security), QNY_SUCCESS);
        return security;
    };
    zmq::context_t context;
    zmq::socket_t inbox(context, zmq::socket_type::router);
    const auto first = opened();
    ASSERT_EQ(first->guard(context, inbox), QNY_SUCCESS) << qny_last_error();
    EXPECT_TRUE(inbox.get(zmq::sockopt::curve_server));

    // Somebody else answers who may come in.
    zmq::socket_t another(context, zmq::socket_type::router);
    const auto second = opened();
    EXPECT_EQ(second->guard(context, another), QNY_ERROR_SECURITY);
    EXPECT_EQ(std::string(qny_last_error()),
        "The network cannot be secured, and nothing was started. A socket of ZeroMQ cannot be secured: Address already "
        "in use.");
    // A socket that takes no key.
    zmq::context_t elsewhere;
    zmq::socket_t closed;
    EXPECT_EQ(opened()->guard(elsewhere, closed), QNY_ERROR_SECURITY);
}
