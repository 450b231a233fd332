#pragma once

#include "Foundation/VLString.h"

/// A version of three numbers.
struct VLProductVersion {
    int major = 0;
    int minor = 0;
    int build = 0;
};

/// A version of four numbers.
class VLVersion {
public:
    int major = 0;
    int minor = 0;
    int revision = 0;
    int build = 0;

    VLVersion() = default;
    VLVersion(int majorNumber, int minorNumber, int revisionNumber, int buildNumber);
    /// The revision is 0.
    VLVersion(const VLProductVersion& version);
    /// Reads up to four numbers with dots between them. Missing numbers are 0. If there is no build and the
    /// revision is above 100000, it becomes the build: "5.0.120101" is 5.0.0.120101.
    VLVersion(const VLString& text);

    /// Whether any number is not 0.
    bool IsValid() const;

    /// "major.minor.build" in the short form, all four numbers in the long form.
    VLString ToString(bool shortForm) const;
    /// The digits of ToString as one number: 1.2.3.4 gives 124 in the short form, 1234 in the long form.
    unsigned int ToUInt(bool shortForm) const;

    bool operator==(const VLVersion& other) const;
    /// True if any number is less than the same number of `other`. Intended: this is not an order. Each of
    /// two versions can be less than the other. The same is true for the next three operators.
    bool operator<(const VLVersion& other) const;
    bool operator>(const VLVersion& other) const;
    /// `<` or equal in all numbers.
    bool operator<=(const VLVersion& other) const;
    bool operator>=(const VLVersion& other) const;
};
