// SPDX-License-Identifier: Apache-2.0
// Where a message came from, as libzmq noted when it took it in.
#pragma once

#include <string>
#include <string_view>
#include <zmq.hpp>

namespace qny {

// Of the connection; negative when it was gone before the message was taken in, and another's once it is gone.
inline int descriptorOf(const zmq::message_t& message)
{
    return zmq_msg_get(message.handle(), ZMQ_SRCFD);
}

// Null when libzmq noted no such thing.
inline const char* noteOf(const zmq::message_t& message, const char* name)
{
    return zmq_msg_gets(const_cast<zmq_msg_t*>(message.handle()), name);
}

// The same for all messages of a connection, and no other's as long as one of them is kept; null when it was gone
// before the message was taken in.
inline const void* connectionOf(const zmq::message_t& message)
{
    return noteOf(message, "Peer-Address");
}

// Of the other end, without its port; empty when it was gone before the message was taken in.
inline std::string peerAddressOf(const zmq::message_t& message)
{
    const char* const address = noteOf(message, "Peer-Address");
    return address ? address : "";
}

// The public key that the other end has proved, as Z85 text; empty on an open network.
inline std::string_view provedKeyOf(const zmq::message_t& message)
{
    const char* const key = noteOf(message, "User-Id");
    return key ? key : "";
}

} // namespace qny
