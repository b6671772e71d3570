// SPDX-License-Identifier: Apache-2.0
// What libzmq is to know of Linux and of the C library, which its own build finds out by trying.
#pragma once

#define ZMQ_HAVE_LINUX
#define ZMQ_USE_CV_IMPL_STL11
#define ZMQ_IOTHREAD_POLLER_USE_EPOLL
#define ZMQ_IOTHREAD_POLLER_USE_EPOLL_CLOEXEC
#define ZMQ_POLL_BASED_ON_POLL
#define ZMQ_HAVE_PPOLL
#define ZMQ_CACHELINE_SIZE 64
#define HAVE_POSIX_MEMALIGN 1
// Not HAVE_FORK: each look at a socket would ask the system which process this is, in case it is a forked one. A forked
// child leaves what its parent has alone.
#define HAVE_CLOCK_GETTIME
#define HAVE_MKDTEMP
#define HAVE_ACCEPT4
#define HAVE_STRNLEN
#define HAVE_IF_NAMETOINDEX
#define ZMQ_HAVE_UIO
#define ZMQ_HAVE_NOEXCEPT
#define ZMQ_HAVE_EVENTFD
#define ZMQ_HAVE_EVENTFD_CLOEXEC
#define ZMQ_HAVE_IFADDRS
#define ZMQ_HAVE_SO_BINDTODEVICE
#define ZMQ_HAVE_SO_PEERCRED
#define ZMQ_HAVE_BUSY_POLL
#define ZMQ_HAVE_O_CLOEXEC
#define ZMQ_HAVE_SOCK_CLOEXEC
#define ZMQ_HAVE_SO_KEEPALIVE
#define ZMQ_HAVE_SO_PRIORITY
#define ZMQ_HAVE_TCP_KEEPCNT
#define ZMQ_HAVE_TCP_KEEPIDLE
#define ZMQ_HAVE_TCP_KEEPINTVL
#define ZMQ_HAVE_PTHREAD_SETNAME_2
#define ZMQ_HAVE_PTHREAD_SET_AFFINITY
#define ZMQ_HAVE_IPC
#define ZMQ_HAVE_STRUCT_SOCKADDR_UN
#define ZMQ_HAVE_CURVE
#define ZMQ_USE_LIBSODIUM
