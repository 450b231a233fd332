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
    /// Reads up to four numbers with dots between them; those that are missing are 0. A revision above 100000
    /// without a build is taken for the build: "5.0.120101" is 5.0.0.120101.
    VLVersion(const VLString& text);

    /// Whether any number is not 0.
    bool IsValid() const;

    /// "major.minor.build" in the short form, all four numbers in the long one.
    VLString ToString(bool shortForm) const;
    /// The digits of ToString as one number: 1.2.3.4 gives 124 in the short form, 1234 in the long one.
    unsigned int ToUInt(bool shortForm) const;

    bool operator==(const VLVersion& other) const;
    /// True as soon as any number is less than its counterpart. Intended: this is no ordering of versions, of
    /// two versions each may be less than the other. The same holds for the other three.
    bool operator<(const VLVersion& other) const;
    bool operator>(const VLVersion& other) const;
    /// `<` or equal in all numbers.
    bool operator<=(const VLVersion& other) const;
    bool operator>=(const VLVersion& other) const;
};
