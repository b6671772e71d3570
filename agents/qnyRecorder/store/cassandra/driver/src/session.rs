// SPDX-License-Identifier: Apache-2.0

//! Statements on a session, each blocking until it is done or its time is over.

use crate::answer::Answer;
use crate::border::{free, guarded, reference, slice, text, Outcome};
use crate::consistency::serial_of;
use crate::failure::{Failure, Kind, Server};
use crate::value::{Given, RawValue};
use futures::stream::{iter, StreamExt};
use scylla::response::PagingState;
use scylla::statement::prepared::PreparedStatement;
use scylla::statement::{Consistency, SerialConsistency};
use std::ffi::c_char;
use std::future::Future;
use std::time::Duration;
use tokio::runtime::Runtime;

const WRITE: u32 = 0;
const READ: u32 = 1;
const SERIAL_READ: u32 = 3;

pub struct Session {
    runtime: Runtime,
    session: scylla::client::session::Session,
    server: Server,
    consistency: Consistency,
}

pub struct Statement {
    prepared: PreparedStatement,
}

/// As cassandra_row in the header.
#[repr(C)]
pub struct RawRow {
    statement: *const Statement,
    values: *const RawValue,
    count: usize,
}

impl Session {
    pub fn new(
        runtime: Runtime,
        session: scylla::client::session::Session,
        server: Server,
        consistency: Consistency,
    ) -> Self {
        Session { runtime, session, server, consistency }
    }

    fn within<T>(&self, timeout_ms: u32, work: impl Future<Output = Result<T, Failure>>) -> Result<T, Failure> {
        self.runtime.block_on(self.limited(timeout_ms, work))
    }

    async fn limited<T>(
        &self,
        timeout_ms: u32,
        work: impl Future<Output = Result<T, Failure>>,
    ) -> Result<T, Failure> {
        let limit = Duration::from_millis(u64::from(timeout_ms));
        tokio::time::timeout(limit, work).await.unwrap_or_else(|_| Err(self.server.timed_out()))
    }

    async fn execute(&self, statement: &Statement, values: &[Given<'_>], page: PagingState) -> Outcome {
        let (result, next) = self
            .session
            .execute_single_page(&statement.prepared, values, page)
            .await
            .map_err(|error| self.server.execution(&error))?;
        Answer::of(result, next)
    }

    async fn write(&self, statement: &Statement, values: Vec<Given<'_>>) -> Result<(), Failure> {
        self.session
            .execute_unpaged(&statement.prepared, values)
            .await
            .map(|_| ())
            .map_err(|error| self.server.execution(&error))
    }
}

fn given<'a>(values: *const RawValue, count: usize) -> Result<Vec<Given<'a>>, Failure> {
    Ok(slice(values, count)?.iter().map(|value| unsafe { Given::from(value) }).collect())
}

/// # Safety
/// As the header says.
#[no_mangle]
pub unsafe extern "C" fn cassandra_disconnect(session: *mut Session) {
    free(session, |session| {
        let Session { runtime, session, .. } = session;
        {
            let _inside = runtime.enter();
            drop(session);
        }
        runtime.shutdown_background();
    });
}

/// # Safety
/// As the header says.
#[no_mangle]
pub unsafe extern "C" fn cassandra_use_keyspace(
    session: *const Session,
    keyspace: *const c_char,
    timeout_ms: u32,
) -> *mut Answer {
    guarded(|| {
        let session = reference(session)?;
        let keyspace = text(keyspace)?;
        session.within(timeout_ms, async {
            session
                .session
                .use_keyspace(keyspace, true)
                .await
                .map(|_| Answer::done())
                .map_err(|error| session.server.keyspace(&error))
        })
    })
}

/// # Safety
/// As the header says.
#[no_mangle]
pub unsafe extern "C" fn cassandra_run(session: *const Session, cql: *const c_char, timeout_ms: u32) -> *mut Answer {
    guarded(|| {
        let session = reference(session)?;
        let cql = text(cql)?;
        session.within(timeout_ms, async {
            session
                .session
                .query_unpaged(cql, ())
                .await
                .map(|_| Answer::done())
                .map_err(|error| session.server.execution(&error))
        })
    })
}

/// # Safety
/// As the header says.
#[no_mangle]
pub unsafe extern "C" fn cassandra_prepare(
    session: *const Session,
    cql: *const c_char,
    kind: u32,
    page_rows: u32,
    timeout_ms: u32,
    statement: *mut *mut Statement,
) -> *mut Answer {
    guarded(|| {
        reference(statement)?;
        unsafe { *statement = std::ptr::null_mut() };
        let session = reference(session)?;
        let cql = text(cql)?;
        let mut prepared = session.within(timeout_ms, async {
            session.session.prepare(cql).await.map_err(|error| session.server.preparing(&error))
        })?;
        prepared.set_is_idempotent(matches!(kind, WRITE | READ | SERIAL_READ));
        prepared.set_page_size(i32::try_from(page_rows).unwrap_or(i32::MAX).max(1));
        if kind == SERIAL_READ {
            prepared.set_consistency(match serial_of(session.consistency) {
                SerialConsistency::LocalSerial => Consistency::LocalSerial,
                SerialConsistency::Serial => Consistency::Serial,
            });
        }
        unsafe { *statement = Box::into_raw(Box::new(Statement { prepared })) };
        Ok(Answer::done())
    })
}

/// # Safety
/// As the header says.
#[no_mangle]
pub unsafe extern "C" fn cassandra_statement_free(statement: *mut Statement) {
    free(statement, drop);
}

/// # Safety
/// As the header says.
#[no_mangle]
pub unsafe extern "C" fn cassandra_execute(
    session: *const Session,
    statement: *const Statement,
    values: *const RawValue,
    count: usize,
    previous: *const Answer,
    timeout_ms: u32,
) -> *mut Answer {
    guarded(|| {
        let session = reference(session)?;
        let statement = reference(statement)?;
        let values = given(values, count)?;
        let page = match unsafe { previous.as_ref() } {
            None => PagingState::start(),
            Some(answer) => answer
                .next()
                .cloned()
                .ok_or_else(|| Failure::new(Kind::Internal, "There is no further page."))?,
        };
        session.within(timeout_ms, session.execute(statement, &values, page))
    })
}

/// # Safety
/// As the header says.
#[no_mangle]
pub unsafe extern "C" fn cassandra_write_rows(
    session: *const Session,
    rows: *const RawRow,
    count: usize,
    in_flight: u32,
    timeout_ms: u32,
) -> *mut Answer {
    guarded(|| {
        let session = reference(session)?;
        let mut writes = Vec::with_capacity(count);
        for row in slice(rows, count)? {
            writes.push((reference(row.statement)?, given(row.values, row.count)?));
        }
        let most = usize::try_from(in_flight).unwrap_or(1).max(1);
        session.runtime.block_on(async {
            let writing = writes
                .into_iter()
                .map(|(statement, values)| session.limited(timeout_ms, session.write(statement, values)));
            let mut written = iter(writing).buffer_unordered(most);
            while let Some(result) = written.next().await {
                result?;
            }
            Ok(Answer::done())
        })
    })
}
