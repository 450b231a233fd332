#pragma once

// Base64 with the standard alphabet of RFC 4648 and "=" padding, in lines that end with CR LF.
// Sizes are in bytes. A block of size 0 may be null. Nothing throws.

/// Encodes `sourceSize` bytes into lines of `lineLength` characters. `lineLength` is rounded down to a
/// multiple of four. A `lineLength` below 4 counts as 64. The last line ends with CR LF too. No zero byte is
/// added. `*targetSize` is the size of `target` on entry, and the number of written bytes on exit.
/// Returns false if `target` is too small: `*targetSize` is then 0, and `target` has what fits.
bool Base64EncodeData(const void* source, unsigned long sourceSize, char* target, unsigned long* targetSize,
                      int lineLength);

/// Decodes the characters of the alphabet. Skips all other characters, line breaks and "=" included. A last
/// group of fewer than four characters gives its complete bytes. `*targetSize` and the result are as for the
/// encoder. The unused rest of `target` is filled with ".".
bool Base64DecodeData(const void* source, unsigned long sourceSize, void* target, unsigned long* targetSize);

/// The size of the encoded characters, with a CR LF for every `lineLength` of them. `lineLength` must be
/// positive. If it is a multiple of four, the encoder needs exactly this size. Returns the largest number if
/// the result would exceed it.
unsigned long Base64EstimateEncodedDataSize(unsigned long sourceSize, int lineLength);

/// The largest size that `sourceSize` characters can decode to.
unsigned long Base64EstimateDecodedDataSize(unsigned long sourceSize);
