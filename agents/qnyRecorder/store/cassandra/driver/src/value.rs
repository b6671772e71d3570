// SPDX-License-Identifier: Apache-2.0

//! Values on their way across the border.

use scylla::cluster::metadata::{ColumnType, NativeType};
use scylla::serialize::value::SerializeValue;
use scylla::serialize::writers::{CellWriter, WrittenCellProof};
use scylla::serialize::SerializationError;
use scylla::value::{CqlValue, Unset};
use std::ffi::c_void;

const NULL: u32 = 0;
const INTEGER: u32 = 1;
const TEXT: u32 = 2;
const BLOB: u32 = 3;
const UNSET: u32 = 4;

/// As cassandra_value in the header.
#[repr(C)]
#[derive(Clone, Copy)]
pub struct RawValue {
    kind: u32,
    integer: i64,
    bytes: *const c_void,
    size: usize,
}

impl RawValue {
    pub const NULL: RawValue = RawValue { kind: NULL, integer: 0, bytes: std::ptr::null(), size: 0 };

    fn integer(integer: i64) -> Self {
        RawValue { kind: INTEGER, integer, ..RawValue::NULL }
    }

    fn bytes(kind: u32, bytes: &[u8]) -> Self {
        RawValue { kind, integer: 0, bytes: bytes.as_ptr().cast(), size: bytes.len() }
    }

    /// Looks into `value`, which must stay.
    pub fn of(value: &Option<CqlValue>) -> Self {
        match value {
            Some(CqlValue::BigInt(number)) => RawValue::integer(*number),
            Some(CqlValue::Int(number)) => RawValue::integer(i64::from(*number)),
            Some(CqlValue::Counter(counter)) => RawValue::integer(counter.0),
            Some(CqlValue::Boolean(yes)) => RawValue::integer(i64::from(*yes)),
            Some(CqlValue::Text(text)) | Some(CqlValue::Ascii(text)) => RawValue::bytes(TEXT, text.as_bytes()),
            Some(CqlValue::Blob(bytes)) => RawValue::bytes(BLOB, bytes),
            _ => RawValue::NULL,
        }
    }
}

/// A value given by the caller, who keeps its bytes until the call returns.
#[derive(Clone, Copy)]
pub enum Given<'a> {
    Null,
    Unset,
    Integer(i64),
    Text(&'a [u8]),
    Blob(&'a [u8]),
}

impl<'a> Given<'a> {
    /// # Safety
    /// The bytes of a text or blob must be there, and stay for 'a.
    pub unsafe fn from(raw: &'a RawValue) -> Given<'a> {
        let bytes = || {
            if raw.bytes.is_null() {
                &[]
            } else {
                unsafe { std::slice::from_raw_parts(raw.bytes.cast::<u8>(), raw.size) }
            }
        };
        match raw.kind {
            INTEGER => Given::Integer(raw.integer),
            TEXT => Given::Text(bytes()),
            BLOB => Given::Blob(bytes()),
            UNSET => Given::Unset,
            _ => Given::Null,
        }
    }
}

impl SerializeValue for Given<'_> {
    fn serialize<'b>(
        &self,
        column: &ColumnType,
        writer: CellWriter<'b>,
    ) -> Result<WrittenCellProof<'b>, SerializationError> {
        match self {
            Given::Null => Ok(writer.set_null()),
            Given::Unset => Unset.serialize(column, writer),
            Given::Integer(number) => match column {
                // The length of a lease is the one int among bigints.
                ColumnType::Native(NativeType::Int) => {
                    i32::try_from(*number).unwrap_or(i32::MAX).serialize(column, writer)
                }
                _ => number.serialize(column, writer),
            },
            // What is no UTF-8 is refused here, as the server would.
            Given::Text(bytes) => std::str::from_utf8(bytes)
                .map_err(SerializationError::new)?
                .serialize(column, writer),
            Given::Blob(bytes) => bytes.serialize(column, writer),
        }
    }
}
