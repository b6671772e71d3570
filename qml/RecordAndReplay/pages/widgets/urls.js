// SPDX-License-Identifier: Apache-2.0
.pragma library

// A part of a URL as a person reads it. Bytes that are no text stay as the URL has them.
function decoded(part) {
    try {
        return decodeURIComponent(part);
    } catch (error) {
        return part;
    }
}
