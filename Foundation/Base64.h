#pragma once

// Base64 with the standard alphabet of RFC 4648 and "=" padding, in lines that end with CR LF. In all
// functions sizes are in bytes, null is allowed for a block of size 0, and nothing throws.

/// Encodes `sourceSize` bytes into lines of `lineLength` characters, rounded down to a multiple of four (64
/// when it is below 4); the last line ends with CR LF too, and no zero byte follows. `*targetSize` is the
/// room at `target` on entry and what was written on exit. Where the room is too small the result is false
/// and
/// `*targetSize` 0, and what fitted stands in `target`.
bool Base64EncodeData(const void* source, unsigned long sourceSize, char* target, unsigned long* targetSize,
                      int lineLength);

/// Decodes the characters of the alphabet among the `sourceSize` bytes and skips all others, line breaks and
/// "=" included. Of a last group of fewer than four characters all whole bytes are given. `*targetSize` as
/// for the encoder. The room that decoded bytes do not fill is filled with ".".
bool Base64DecodeData(const void* source, unsigned long sourceSize, void* target, unsigned long* targetSize);

/// Room for the encoded characters, and a CR LF for every `lineLength` of them; `lineLength` must be
/// positive. The encoder needs exactly as much when `lineLength` is a multiple of four. The largest number
/// when the result exceeds it.
unsigned long Base64EstimateEncodedDataSize(unsigned long sourceSize, int lineLength);

/// Room for the bytes that `sourceSize` characters can stand for.
unsigned long Base64EstimateDecodedDataSize(unsigned long sourceSize);
