// SPDX-License-Identifier: Apache-2.0

//! How many nodes must agree.

use crate::failure::{Failure, Kind};
use scylla::statement::{Consistency, SerialConsistency};

/// By its name in options.
pub fn consistency_of(name: &str) -> Result<Consistency, Failure> {
    Ok(match name {
        "ONE" => Consistency::One,
        "TWO" => Consistency::Two,
        "THREE" => Consistency::Three,
        "QUORUM" => Consistency::Quorum,
        "ALL" => Consistency::All,
        "LOCAL_ONE" => Consistency::LocalOne,
        "" | "LOCAL_QUORUM" => Consistency::LocalQuorum,
        other => return Err(Failure::new(Kind::Internal, format!("There is no consistency \"{other}\"."))),
    })
}

/// Conditional writes agree in the data centre when plain ones do.
pub fn serial_of(consistency: Consistency) -> SerialConsistency {
    match consistency {
        Consistency::LocalOne | Consistency::LocalQuorum => SerialConsistency::LocalSerial,
        _ => SerialConsistency::Serial,
    }
}
