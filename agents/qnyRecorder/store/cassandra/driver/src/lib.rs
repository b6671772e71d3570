// SPDX-License-Identifier: Apache-2.0

//! The blocking C interface of cassandra_driver.h over the asynchronous driver. Nothing here knows what is stored: that is
//! the business of the C++ around it.

mod answer;
mod border;
mod connect;
mod consistency;
mod failure;
mod session;
mod value;
