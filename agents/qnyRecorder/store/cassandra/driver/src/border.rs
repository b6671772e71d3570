// SPDX-License-Identifier: Apache-2.0

//! What every function that C calls does the same way: no panic leaves it, and every pointer is looked at first.

use crate::answer::Answer;
use crate::failure::{Failure, Kind};
use std::ffi::{c_char, CStr};
use std::panic::{catch_unwind, AssertUnwindSafe};

pub type Outcome = Result<Answer, Failure>;

/// Runs `work` and gives its answer to C; a panic becomes an answer too.
pub fn guarded(work: impl FnOnce() -> Outcome) -> *mut Answer {
    let outcome = catch_unwind(AssertUnwindSafe(work)).unwrap_or_else(|panic| Err(of_panic(panic.as_ref())));
    Box::into_raw(Box::new(Answer::from(outcome)))
}

fn of_panic(panic: &(dyn std::any::Any + Send)) -> Failure {
    let what = panic
        .downcast_ref::<&str>()
        .map(|text| text.to_string())
        .or_else(|| panic.downcast_ref::<String>().cloned())
        .unwrap_or_default();
    Failure::new(Kind::Internal, format!("The Cassandra driver failed: {what}."))
}

/// Frees what was given to C; nothing leaves from there either.
pub fn free<T>(pointer: *mut T, end: impl FnOnce(T)) {
    if !pointer.is_null() {
        let owned = unsafe { Box::from_raw(pointer) };
        let _ = catch_unwind(AssertUnwindSafe(|| end(*owned)));
    }
}

pub fn reference<'a, T>(pointer: *const T) -> Result<&'a T, Failure> {
    unsafe { pointer.as_ref() }.ok_or_else(|| Failure::new(Kind::Internal, "A pointer is NULL."))
}

pub fn slice<'a, T>(pointer: *const T, count: usize) -> Result<&'a [T], Failure> {
    if count == 0 {
        return Ok(&[]);
    }
    reference(pointer)?;
    Ok(unsafe { std::slice::from_raw_parts(pointer, count) })
}

/// NULL is the empty text.
pub fn text<'a>(pointer: *const c_char) -> Result<&'a str, Failure> {
    if pointer.is_null() {
        return Ok("");
    }
    unsafe { CStr::from_ptr(pointer) }
        .to_str()
        .map_err(|_| Failure::new(Kind::Internal, "A text is not UTF-8."))
}

/// Shows a test that nothing leaves; without the words that a panic prints.
#[no_mangle]
pub extern "C" fn cassandra_panic_on_purpose() -> *mut Answer {
    guarded(|| std::panic::resume_unwind(Box::new("on purpose")))
}
