#include "Foundation/VLVersion.h"

#include <cstdio>

// Initialised with braces, because some systems have macros named "major(" and "minor(".

VLVersion::VLVersion(int majorNumber, int minorNumber, int revisionNumber, int buildNumber)
    : major{majorNumber}, minor{minorNumber}, revision{revisionNumber}, build{buildNumber} {}

VLVersion::VLVersion(const VLProductVersion& version)
    : major{version.major}, minor{version.minor}, build{version.build} {}

VLVersion::VLVersion(const VLString& text) {
    constexpr int largestRevision = 100000;
    // What cannot be read stays 0. NOLINTNEXTLINE(cert-err33-c,cert-err34-c)
    std::sscanf(text.ConstData(), "%d.%d.%d.%d", &major, &minor, &revision, &build);
    if (revision > largestRevision && build == 0) {
        build = revision;
        revision = 0;
    }
}

bool VLVersion::IsValid() const {
    return !(*this == VLVersion());
}

VLString VLVersion::ToString(bool shortForm) const {
    VLString text;
    return shortForm ? text.FromFormat("%d.%d.%d", major, minor, build)
                     : text.FromFormat("%d.%d.%d.%d", major, minor, revision, build);
}

unsigned int VLVersion::ToUInt(bool shortForm) const {
    return ToString(shortForm).Replace(".", "").GetULong(0);
}

bool VLVersion::operator==(const VLVersion& other) const {
    return major == other.major && minor == other.minor && revision == other.revision && build == other.build;
}

bool VLVersion::operator<(const VLVersion& other) const {
    return major < other.major || minor < other.minor || revision < other.revision || build < other.build;
}

bool VLVersion::operator>(const VLVersion& other) const {
    return other < *this;
}

bool VLVersion::operator<=(const VLVersion& other) const {
    return *this < other || *this == other;
}

bool VLVersion::operator>=(const VLVersion& other) const {
    return *this > other || *this == other;
}
