// Nothing is built of this: see Cargo.toml.
