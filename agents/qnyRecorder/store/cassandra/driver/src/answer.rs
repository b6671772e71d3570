// SPDX-License-Identifier: Apache-2.0

//! What every call returns.

use crate::failure::{Failure, Kind};
use crate::value::RawValue;
use scylla::response::{PagingState, PagingStateResponse};
use scylla::response::query_result::QueryResult;
use scylla::value::{CqlValue, Row};
use std::ffi::{c_char, CString};

pub struct Answer {
    kind: Kind,
    text: CString,
    applied: bool,
    columns: usize,
    rows: Vec<Vec<Option<CqlValue>>>,
    next: Option<PagingState>,
}

impl Answer {
    pub fn done() -> Self {
        Answer { kind: Kind::Ok, text: CString::default(), applied: false, columns: 0, rows: Vec::new(), next: None }
    }

    pub fn failed(failure: Failure) -> Self {
        let text = failure.text.replace('\0', " ");
        Answer { kind: failure.kind, text: CString::new(text).unwrap_or_default(), ..Answer::done() }
    }

    pub fn of(result: QueryResult, paging: PagingStateResponse) -> Result<Self, Failure> {
        let mut answer = Answer::done();
        if let PagingStateResponse::HasMorePages { state } = paging {
            answer.next = Some(state);
        }
        if !result.is_rows() {
            return Ok(answer);
        }
        let unreadable = |error: &dyn std::error::Error| {
            Failure::new(Kind::Internal, format!("Cassandra's answer cannot be read: {}.", crate::failure::whole(error)))
        };
        let result = result.into_rows_result().map_err(|error| unreadable(&error))?;
        answer.columns = result.column_specs().len();
        let conditional = result.column_specs().get_by_index(0).is_some_and(|column| column.name() == "[applied]");
        answer.rows.reserve(result.rows_num());
        for row in result.rows::<Row>().map_err(|error| unreadable(&error))? {
            answer.rows.push(row.map_err(|error| unreadable(&error))?.columns);
        }
        answer.applied = conditional
            && matches!(answer.rows.first().and_then(|row| row.first()), Some(Some(CqlValue::Boolean(true))));
        Ok(answer)
    }

    pub fn next(&self) -> Option<&PagingState> {
        self.next.as_ref()
    }
}

impl From<Result<Answer, Failure>> for Answer {
    fn from(result: Result<Answer, Failure>) -> Self {
        result.unwrap_or_else(Answer::failed)
    }
}

/// # Safety
/// `answer` is NULL or came from this library and was not freed.
#[no_mangle]
pub unsafe extern "C" fn cassandra_answer_error(answer: *const Answer) -> Kind {
    unsafe { answer.as_ref() }.map_or(Kind::Internal, |answer| answer.kind)
}

/// # Safety
/// As cassandra_answer_error().
#[no_mangle]
pub unsafe extern "C" fn cassandra_answer_text(answer: *const Answer) -> *const c_char {
    unsafe { answer.as_ref() }.map_or(c"There is no answer.".as_ptr(), |answer| answer.text.as_ptr())
}

/// # Safety
/// As cassandra_answer_error().
#[no_mangle]
pub unsafe extern "C" fn cassandra_answer_applied(answer: *const Answer) -> i32 {
    unsafe { answer.as_ref() }.map_or(0, |answer| i32::from(answer.applied))
}

/// # Safety
/// As cassandra_answer_error().
#[no_mangle]
pub unsafe extern "C" fn cassandra_answer_rows(answer: *const Answer) -> usize {
    unsafe { answer.as_ref() }.map_or(0, |answer| answer.rows.len())
}

/// # Safety
/// As cassandra_answer_error().
#[no_mangle]
pub unsafe extern "C" fn cassandra_answer_columns(answer: *const Answer) -> usize {
    unsafe { answer.as_ref() }.map_or(0, |answer| answer.columns)
}

/// # Safety
/// As cassandra_answer_error().
#[no_mangle]
pub unsafe extern "C" fn cassandra_answer_has_more(answer: *const Answer) -> i32 {
    unsafe { answer.as_ref() }.map_or(0, |answer| i32::from(answer.next.is_some()))
}

/// # Safety
/// As cassandra_answer_error().
#[no_mangle]
pub unsafe extern "C" fn cassandra_answer_value(answer: *const Answer, row: usize, column: usize) -> RawValue {
    unsafe { answer.as_ref() }
        .and_then(|answer| answer.rows.get(row)?.get(column))
        .map_or(RawValue::NULL, RawValue::of)
}

/// # Safety
/// As cassandra_answer_error(); not used afterwards.
#[no_mangle]
pub unsafe extern "C" fn cassandra_answer_free(answer: *mut Answer) {
    if !answer.is_null() {
        drop(unsafe { Box::from_raw(answer) });
    }
}
