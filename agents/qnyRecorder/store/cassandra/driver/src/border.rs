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

#[cfg(test)]
mod tests {
    use super::*;
    use crate::answer::{cassandra_answer_error, cassandra_answer_free, cassandra_answer_text};

    fn told(answer: *mut Answer) -> (Kind, String) {
        let told = unsafe {
            let text = CStr::from_ptr(cassandra_answer_text(answer)).to_str().unwrap().to_string();
            (cassandra_answer_error(answer), text)
        };
        unsafe { cassandra_answer_free(answer) };
        told
    }

    #[test]
    fn a_panic_becomes_an_answer() {
        let (kind, text) = told(guarded(|| panic!("on purpose")));
        assert_eq!(kind, Kind::Internal);
        assert!(text.contains("on purpose"), "{text}");
        let (kind, text) = told(guarded(|| panic!("on purpose number {}", 2)));
        assert_eq!(kind, Kind::Internal);
        assert!(text.contains("on purpose number 2"), "{text}");
    }

    #[test]
    fn a_panic_while_something_is_freed_stays_inside() {
        free(Box::into_raw(Box::new(1)), |_| panic!("on purpose"));
    }

    #[test]
    fn null_pointers_are_answers_too() {
        let (kind, text) = told(guarded(|| reference::<i32>(std::ptr::null()).map(|_| Answer::done())));
        assert_eq!(kind, Kind::Internal);
        assert!(text.contains("NULL"), "{text}");
        assert_eq!(unsafe { cassandra_answer_error(std::ptr::null()) }, Kind::Internal);
        unsafe { cassandra_answer_free(std::ptr::null_mut()) };
    }
}
