// ZtCreateUIDs: identifiers for medical image files that are unique in the world.
#pragma once

#include <ztlib/ZtExport.h>
#include <ztlib/ZtString.h>

/// Makes object identifiers as DICOM files (PS3.5, chapter 9) have them, numbers and points:
///
///     root.2.version.type.node.YYYYMMDDhhmmssCCC.PPPPP
///
/// from the root of an organisation, the version and the type (2 to 6, see `UIDtype`), the hardware
/// address of the machine's network adapter as a number, the local date and time, a counter that
/// all objects of the process share, and five digits of the process's number. With a root of up to
/// 17 characters and the version of two that is there at first, they have at most the 64 characters
/// that such files allow.
///
/// The counter runs from 1 to 999 and starts again: a process that makes more than 999 in a second
/// repeats itself, unless it asked for `setWaitForDistinct`. The node comes from the last adapter
/// that belongs to a device of the machine, in the order of the system, else from the last that the
/// system made up, such as a bridge, whose address may be another after the next start. It is read
/// once in a process. A machine without any has the node 84320313; such machines need different
/// roots or versions.
///
/// An identifier takes less than a microsecond. One thread at a time uses an object; threads with
/// objects of their own do not get each other's identifiers.
class ZTLIB_API ZtCreateUIDs {
public:
    /// What an identifier is for; its type code is the number + 2.
    enum UIDtype : int {
        STUDY_UID = 0,
        SERIES_UID = 1,
        INSTANCE_UID = 2,            ///< an image, or another object with a file of its own
        FRAME_OF_REFERENCE_UID = 3,  ///< coordinates that several series share
        OTHER_UID = 4
    };

    /// With the version "51" and the root "1.3.6.1.4.1.32473", which is set aside for examples
    /// (RFC 5612): set your organisation's before files leave the house.
    ZtCreateUIDs();

    /// Makes version and root what they are at first. The error text stays.
    void reset();

    /// Sets the root, for example "1.2.840.99999". Null and the empty text are refused. Neither the
    /// length nor the form is looked at: numbers without leading zeros, points between them.
    bool setRootUID(const char* root);
    /// Sets the version, a number without leading zeros. Null and the empty text are refused.
    bool setVersion(const char* version);

    /// Makes an identifier. False, and an empty text, for a number that is no `UIDtype`. When
    /// memory is exhausted, `uid` is empty and `ZtMemoryException` is thrown.
    bool createUID(UIDtype type, ZtString& uid);

    /// What the last call that returned false had to say; "" when there was none. Holds until the
    /// next such call.
    const char* lastError() const { return lastErrorText_.getString(); }

    /// The local time now, by the time zone that the environment has now: the year as in 2013,
    /// month 1 to 12, day 1 to 31.
    void getDateTime(int& year, int& month, int& day, int& hour, int& minute, int& second) const;

    /// Whether `createUID`, in all objects, waits for the next second when 999 identifiers were
    /// made in one. All that the process makes are then distinct as long as local time does not go
    /// back: by a clock that is set, or at the end of summer time. Off at first.
    static void setWaitForDistinct(bool wait);

private:
    bool fail(const char* text);

    ZtString version_;
    ZtString rootUID_;
    ZtString lastErrorText_;
};
