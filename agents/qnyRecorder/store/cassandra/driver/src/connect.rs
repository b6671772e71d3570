// SPDX-License-Identifier: Apache-2.0

//! Connecting: options, encryption, and telling why it did not work.

use crate::answer::Answer;
use crate::border::{guarded, reference, text};
use crate::consistency::{consistency_of, serial_of};
use crate::failure::{whole, Failure, Kind, Server};
use crate::session::Session;
use openssl::ssl::{SslConnector, SslContext, SslMethod, SslVerifyMode};
use openssl::x509::X509;
use scylla::client::execution_profile::ExecutionProfile;
use scylla::client::session_builder::SessionBuilder;
use scylla::policies::speculative_execution::SimpleSpeculativeExecutionPolicy;
use scylla::policies::timestamp_generator::MonotonicTimestampGenerator;
use std::ffi::c_char;
use std::net::{TcpStream, ToSocketAddrs};
use std::sync::Arc;
use std::time::Duration;

/// A node that does not answer for so long is asked no longer: another one is.
const SPECULATION: Duration = Duration::from_millis(300);
const KEEPALIVE: Duration = Duration::from_secs(2);
const PROBE: Duration = Duration::from_secs(1);
const WORKERS: usize = 2;

/// As cassandra_options in the header.
#[repr(C)]
pub struct RawOptions {
    host: *const c_char,
    port: u16,
    user: *const c_char,
    password: *const c_char,
    tls: i32,
    tls_ca_file: *const c_char,
    consistency: *const c_char,
    connect_timeout_ms: u32,
}

fn bad_ca(file: &str, why: impl std::fmt::Display) -> Failure {
    Failure::new(
        Kind::BadCa,
        format!("The file of certificate authorities {file} cannot be used: {why}. Give another with --tls-ca."),
    )
}

fn encryption(ca_file: &str) -> Result<SslContext, Failure> {
    let unusable = |error: openssl::error::ErrorStack| {
        Failure::new(Kind::Tls, format!("TLS cannot be used here: {}.", whole(&error)))
    };
    let mut context = SslContext::builder(SslMethod::tls_client()).map_err(unusable)?;
    context.set_verify(SslVerifyMode::PEER);
    if ca_file.is_empty() {
        context.set_default_verify_paths().map_err(unusable)?;
        return Ok(context.build());
    }
    let bytes = std::fs::read(ca_file).map_err(|error| bad_ca(ca_file, error))?;
    let authorities = X509::stack_from_pem(&bytes).unwrap_or_default();
    if authorities.is_empty() {
        return Err(bad_ca(ca_file, "it holds no certificate in PEM form"));
    }
    for authority in authorities {
        context.cert_store_mut().add_cert(authority).map_err(|error| bad_ca(ca_file, error))?;
    }
    Ok(context.build())
}

/// Whether somebody there answers a TLS greeting: why a plain connection was cut.
fn speaks_tls(host: &str, port: u16) -> bool {
    let Some(address) = (host, port).to_socket_addrs().ok().and_then(|mut found| found.next()) else {
        return false;
    };
    let Ok(stream) = TcpStream::connect_timeout(&address, PROBE) else {
        return false;
    };
    let _ = stream.set_read_timeout(Some(PROBE));
    let _ = stream.set_write_timeout(Some(PROBE));
    let Ok(mut connector) = SslConnector::builder(SslMethod::tls_client()) else {
        return false;
    };
    connector.set_verify(SslVerifyMode::NONE);
    let greeted = connector.build().configure().map(|greeting| greeting.verify_hostname(false).connect(host, stream));
    matches!(greeted, Ok(Ok(_)))
}

fn connect(options: &RawOptions) -> Result<Session, Failure> {
    let host = text(options.host)?;
    let user = text(options.user)?;
    let encrypted = options.tls != 0;
    let address = if host.contains(':') {
        format!("[{host}]:{}", options.port)
    } else {
        format!("{host}:{}", options.port)
    };
    let server = Server { address: address.clone(), user: user.to_string(), tls: encrypted };
    let consistency = consistency_of(text(options.consistency)?)?;
    let timeout = Duration::from_millis(u64::from(options.connect_timeout_ms));
    let profile = ExecutionProfile::builder()
        .consistency(consistency)
        .serial_consistency(Some(serial_of(consistency)))
        .request_timeout(None) // each call has its own
        .speculative_execution_policy(Some(Arc::new(SimpleSpeculativeExecutionPolicy {
            max_retry_count: 2,
            retry_interval: SPECULATION,
        })))
        .build();
    let mut builder = SessionBuilder::new()
        .known_node(address)
        .connection_timeout(timeout)
        .keepalive_interval(KEEPALIVE)
        .keepalive_timeout(KEEPALIVE)
        // Of two writes of one row the later one holds, whichever nodes took them and however their clocks differ.
        .timestamp_generator(Arc::new(MonotonicTimestampGenerator::new().without_warnings()))
        .default_execution_profile_handle(profile.into_handle());
    if !user.is_empty() {
        builder = builder.user(user, text(options.password)?);
    }
    if encrypted {
        builder = builder.tls_context(Some(encryption(text(options.tls_ca_file)?)?));
    }
    let runtime = tokio::runtime::Builder::new_multi_thread()
        .worker_threads(WORKERS)
        .thread_name("cassandra")
        .enable_all()
        .build()
        .map_err(|error| Failure::new(Kind::Internal, format!("No thread can be started: {error}.")))?;
    match runtime.block_on(async { tokio::time::timeout(timeout, builder.build()).await }) {
        Ok(Ok(session)) => Ok(Session::new(runtime, session, server, consistency)),
        Ok(Err(error)) => {
            let failure = server.connecting(&error);
            runtime.shutdown_background();
            let cut_off = failure.kind == Kind::Unreachable && !encrypted;
            Err(if cut_off && speaks_tls(host, options.port) { server.tls_wanted() } else { failure })
        }
        Err(_) => {
            runtime.shutdown_background();
            Err(server.connecting_timed_out())
        }
    }
}

/// # Safety
/// As the header says.
#[no_mangle]
pub unsafe extern "C" fn cassandra_connect(options: *const RawOptions, session: *mut *mut Session) -> *mut Answer {
    guarded(|| {
        reference(session)?;
        unsafe { *session = std::ptr::null_mut() };
        let connected = connect(reference(options)?)?;
        unsafe { *session = Box::into_raw(Box::new(connected)) };
        Ok(Answer::done())
    })
}
