#pragma once

// A file path as 8-bit (UTF-8) text in a fixed block of 1024 bytes. A path with text always has
// the whole block; an empty path has none. The path is counted: made with new, it goes at its
// last release; as a member of another object it lives and dies with that object.
//
// Texts come in three kinds (see classify). setText turns a text into the platform's own form:
// on Windows "/data/set.bin" becomes "C:\data\set.bin"; on POSIX systems "C:\data\set.bin"
// becomes "/data/set.bin", so that a path stored on one platform still names a real file on the
// other. Everything else is kept as it stands.

#include "foundation/ornplugobject.h"

#include <cstdint>

class OrnFileStream;

class OrnPath : public OrnPlugObject
{
public:
    // The size of the block, terminator included; a text has at most 1023 characters.
    static constexpr int32_t kBlockSize = 1024;

    // Kinds of text, by classify.
    enum Kind : int32_t
    {
        kNativeText = 1, // a drive or share, a URL, or a file name with a three-letter extension
        kRelativeText = 2,
        kRootedText = 3, // starts with "/"
    };

    OrnPath();
    // Goes through setText.
    explicit OrnPath(const char* text);
    OrnPath(const OrnPath& other);
    OrnPath& operator=(const OrnPath& other);
    virtual ~OrnPath();

    // Stores the text as it stands; longer texts are cut to 1023 characters. Null frees the block.
    virtual void setRawText(const char* text);
    // Copies the text with its terminator into a buffer of at least 1024 bytes; an empty path
    // gives an empty text. Null does nothing.
    virtual void copyText(char* out) const;
    // The block, or null for a path that never had a text.
    virtual const char* getText() const;
    // Stores the text in the platform's form, by its kind; null frees the block.
    virtual void setText(const char* text);
    // Exact comparison; false if either side is null.
    virtual bool equalsText(const char* text) const;
    virtual bool isEmpty() const;
    // What stands behind the last separator, empty without one; nothing is written for an empty
    // path.
    virtual void getFileName(char* out) const;
    // Replaces what stands behind the last separator; a text without separator stays as it is.
    virtual void setFileName(const char* name);
    virtual void addRef();
    // At 0 the object deletes itself; only for paths made with new.
    virtual void release();
    // The text as the operating system's file calls take it (UTF-8 on every platform).
    virtual void getNativeText(char* out) const;
    // As setRawText; true if a text was stored.
    virtual bool setNativeText(const char* text);
    // A separator (unless the text ends in one), then the component. An empty path takes the
    // component alone.
    virtual void appendComponent(const char* component);
    // Cuts the last component, then one more, and ends the text with a separator: both
    // C:\a\b\file.txt and C:\a\b\ become C:\a\. Texts of up to 2 characters stay.
    virtual void goToParent();
    // The folder, a separator if it ends in none, then the present text, through setText.
    virtual bool prependFolder(const char* folder);
    // Appends the name as a folder (separator behind) and tells whether that folder exists.
    // False for a null name or an empty path.
    virtual bool descend(const char* name);
    virtual bool exists() const;
    // Numbers the file name until it names nothing on disk: take.wav, take1.wav, take2.wav...
    // True if the path was free or a free name was found; false for an empty path.
    virtual bool makeUnique();
    // The bytes the text takes in a stream, terminator included; a full block for a path
    // without one.
    virtual int32_t getStoredSize() const;
    // The file's last change in 100-ns units since 1601 (UTC); 0 for an empty path or no file.
    virtual int64_t getFileTime() const;
    // False if either path is empty.
    virtual bool isNewerThan(const OrnPath& other) const;
    virtual uint64_t getUserData() const { return userData; }
    virtual void setUserData(uint64_t data) { userData = data; }
    virtual int32_t getRefCount() const { return refCount; }
    // The text with its terminator (the terminator alone for an empty path). False if the
    // stream took less.
    virtual bool write(OrnFileStream* stream);
    // Reads a text written by write and leaves the stream just behind its terminator, so a
    // record may follow it. False if the stream gave nothing.
    virtual bool read(OrnFileStream* stream);
    // Reads a whole block of 1024 bytes, as write stores an empty path.
    virtual bool readFixed(OrnFileStream* stream);
    // The kind of a text; see Kind. The same answer on every platform.
    virtual int32_t classify(const char* text) const;
    // True if the text holds "://".
    virtual bool isUrl() const;
    // The part before "://"; false, with an empty text, if there is none.
    virtual bool getProtocol(char* out) const;
    // The part between "://" and the next "/"; false if no "/" follows the host.
    virtual bool getHost(char* out) const;
    // Puts another host between protocol and remote path; false if either is missing.
    virtual bool setHost(const char* host);
    // What stands behind the host's "/"; false if that is empty.
    virtual bool getRemotePath(char* out) const;

    // "/" for URLs and POSIX paths, "\" for Windows paths.
    char getSeparator() const;

    // Equal texts; two empty paths are not equal.
    bool operator==(const OrnPath& other) const { return !isEmpty() && equalsText(other.getText()); }

    // Makes a file name safe on every file system, in place: leading blanks, the characters
    // / \ : * ? " > < | ' and every byte below 32 or above 127 become "_". True if anything
    // changed.
    static bool makeLegalName(char* name);
    // A new path (owned by the caller) for the per-user data folder "Tarnwick/<name>" below the
    // platform's folder for such data (see platform/path.h). Null for an empty name, a name of
    // more than 63 characters, or when the platform names no such folder. The folders are not
    // made here.
    static OrnPath* getUserFolder(const char* name);

private:
    // Where the file name starts: behind the last separator, or -1 without one.
    int32_t fileNameStart() const;
    bool ensureBlock();

    char* buffer = nullptr;
    uint64_t userData = 0;
    int32_t refCount = 1;
};

// A path whose text is a URL: its separator is always "/" and its text is kept as given.
// Hosts and paths are stored as they travel, percent-encoded; the decoding operations give
// them as plain text.
class OrnUrl : public OrnPath
{
public:
    // Stores the text as it stands, without classifying it.
    explicit OrnUrl(const char* text = nullptr);
    bool isUrl() const override;

    // The host and the remote path with %XX sequences decoded; false where the plain operations
    // give false, or where a sequence is broken or decodes to a zero byte.
    bool getDecodedHost(char* out) const;
    bool getDecodedPath(char* out) const;

    // A "file://" URL to the platform's path: file:///home/a%20b gives /home/a b on POSIX,
    // file:///C:/a gives C:\a and file://server/share/a gives \\server\share\a on Windows. On
    // POSIX a host other than empty or "localhost" cannot be reached and gives false, as do
    // other protocols. Query and fragment are left out.
    bool toPath(OrnPath& path) const;
    // The file URL of an absolute path of this platform; false for a relative one.
    bool setPath(const OrnPath& path);

    // Percent-decodes a text into a buffer of 1024 bytes; false on a broken sequence or a
    // decoded zero byte (out then holds what was decoded before it).
    static bool decodePercent(const char* text, char* out);
    // Encodes every byte that may not stand in a URL path as it is; "/" stays. The result is
    // cut to 1023 characters.
    static void encodePercent(const char* text, char* out);
};
