/// @file
/// The library for C++20: strings, keys and files that free themselves, and edits that need no
/// choice between the old string and the new one. vr/elements.hpp, which this header includes,
/// reads dynamic arrays as ranges. All of it is inline over the C interface, and both can be
/// used side by side: get() and release() lead from one to the other.
///
/// @code
///     vr::String record("Hartwell\xFE" "Ashford\xFD" "Dover");
///     record.replace({2, 1}, "Canterbury");
///     for (std::string_view attribute : vr::Attributes(record))
///         for (std::string_view value : vr::Values(attribute)) ...
/// @endcode
///
/// As with the C interface, everything here needs UtilInit first and must be gone before VrExit.
#ifndef VR_OWNED_HPP
#define VR_OWNED_HPP

#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "vr/edit.h"
#include "vr/elements.hpp"
#include "vr/extract.h"
#include "vr/files.h"
#include "vr/memory.h"
#include "vr/record.h"
#include "vr/string.h"
#include "vr/walk.h"

namespace vr {

/// The number that means: after the last element of its level.
constexpr int32_t kEnd = -1;

/// An element by its numbers, as in vr/edit.h: {3, 2} is value 2 of attribute 3.
struct Position {
    int32_t attribute = 0;  ///< 1 or more, 0 for none, kEnd
    int32_t value = 0;      ///< the same within the attribute
    int32_t subvalue = 0;   ///< the same within the value
};

/// The bytes of a string of the C interface, which must not be null.
inline std::string_view View(VrString s) {
    return {reinterpret_cast<const char*>(VrStrText(s)), static_cast<size_t>(s->length)};
}

/// @cond
namespace detail {

// A short element, laid out on the stack for a call that only reads it: a zero word, the
// length, the text and a zero.
struct ShortElement {
    static constexpr size_t kMost = 200;  // bytes of text

    int32_t header = 0;
    int32_t length = 0;
    char text[kMost + 1];
};

}  // namespace detail
/// @endcond

/// A counted string that frees itself. It may hold any byte, and converts to a string_view.
class String {
public:
    /// An empty string.
    String() = default;
    /// A copy of the bytes.
    explicit String(std::string_view text) {
        if (text.empty()) return;
        s_ = _alloc_string(static_cast<uint32_t>(text.size()), VR_MODULE, __LINE__);
        std::memcpy(VrStrText(s_), text.data(), text.size());
    }
    /// A copy of the zero-terminated text.
    explicit String(const char* text) : String(std::string_view(text)) {}
    /// Owns a string of the C interface from now on; null stands for an empty one.
    explicit String(VrString taken) : s_(taken) {}
    /// A copy. It keeps the memo, as NewString does.
    String(const String& other) : s_(_NewString(other.get(), VR_MODULE, __LINE__)) {}
    /// Takes the other object's string, and leaves that one empty.
    String(String&& other) noexcept : s_(std::exchange(other.s_, nullptr)) {}
    /// Frees the string that it held.
    String& operator=(String other) noexcept {
        std::swap(s_, other.s_);
        return *this;
    }
    ~String() {
        _free_mem(&s_, VR_MODULE, __LINE__);
    }

    /// The string for a call that reads it; never null.
    VrString get() const {
        return s_ == nullptr ? Empty() : s_;
    }
    /// Hands the string over to the caller, who frees it. This object is then empty.
    [[nodiscard]] VrString release() {
        VrString s = get();
        s_ = nullptr;
        return s;
    }
    /// For a call that stores a new string through the address of a variable. Frees the string
    /// that was held first.
    VrString* out() {
        _free_mem(&s_, VR_MODULE, __LINE__);
        s_ = nullptr;
        return &s_;
    }

    /// A view of the bytes, valid until the string changes.
    operator std::string_view() const {
        return View(get());
    }
    /// The text, with a zero after its last byte.
    const char* c_str() const {
        return reinterpret_cast<const char*>(VrStrText(get()));
    }
    /// Its length in bytes.
    size_t size() const {
        return static_cast<size_t>(get()->length);
    }
    /// Whether it has no bytes.
    bool empty() const {
        return size() == 0;
    }
    /// Compares bytes.
    friend bool operator==(const String& a, const String& b) {
        return View(a.get()) == View(b.get());
    }
    /// Compares bytes.
    friend bool operator==(const String& a, std::string_view b) {
        return View(a.get()) == b;
    }

    /// Replaces an element by the text, as UtilInsertReplace does; the number kEnd adds one after
    /// the last. Returns the cursor of the element. `text` may lie in this string.
    int32_t replace(Position position, std::string_view text) {
        return Edit(position, text, 1);
    }
    /// Inserts the text before an element, in the same way.
    int32_t insert(Position position, std::string_view text) {
        return Edit(position, text, 0);
    }
    /// Adds an attribute at the end.
    int32_t append(std::string_view text) {
        return Edit({kEnd}, text, 0);
    }
    /// A copy of the element; empty when there is none.
    String extract(Position position) const {
        return String(extract_field(position.attribute, position.value, position.subvalue, get()));
    }

private:
    static VrString Empty() {
        return reinterpret_cast<VrString>(NullVrStr + sizeof(int32_t));
    }
    int32_t Edit(Position position, std::string_view text, uint32_t replace) {
        if (text.size() > detail::ShortElement::kMost)
            return Edit(position, String(text).get(), replace);
        detail::ShortElement laid;
        laid.length = static_cast<int32_t>(text.size());
        text.copy(laid.text, text.size());
        laid.text[text.size()] = '\0';
        return Edit(position, reinterpret_cast<VrString>(&laid.length), replace);
    }
    int32_t Edit(Position position, VrString element, uint32_t replace) {
        UtilPosition at = {.attribute = position.attribute,
                           .value = position.value,
                           .subvalue = position.subvalue,
                           .cursor = kVrFirstCursor};
        VrString before = get();
        VrString after = UtilInsertReplace(&at, before, element, replace);
        if (after != before) *out() = after;
        return at.cursor;
    }

    VrString s_ = nullptr;  // null is empty too
};

/// @cond the elements of a temporary string would be gone at once
Elements Attributes(String&&) = delete;
Elements Values(String&&) = delete;
Elements Subvalues(String&&) = delete;
/// @endcond

/// A record's key (vr/record.h), given back with the object. Needs the library vrrecord.
class Key {
public:
    /// Takes the key, as VrRecordLock.
    explicit Key(const char* path, int32_t milliseconds = kVrRecordWait, const char* key = nullptr)
        : result_(VrRecordLock(path, key, milliseconds, &key_)) {}
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    ~Key() {
        if (result_ == kVrRecordDone) VrRecordUnlock(&key_);
    }

    /// Whether it is held.
    explicit operator bool() const {
        return result_ == kVrRecordDone;
    }
    /// The result of VrRecordLock.
    int32_t result() const {
        return result_;
    }
    /// For VrRecordReplace; null when it is not held.
    const VrRecordKey* get() const {
        return result_ == kVrRecordDone ? &key_ : nullptr;
    }

private:
    VrRecordKey key_;
    int32_t result_;
};

/// A file that closes itself.
class File {
public:
    /// As OsOpen; not open after a failure.
    explicit File(const char* path, int32_t flags, int32_t permission = 0) {
        OsOpen(path, flags, permission, &handle_);
    }
    /// Takes the other object's file.
    File(File&& other) noexcept : handle_(std::exchange(other.handle_, -1)) {}
    /// Closes the file that it held.
    File& operator=(File other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~File() {
        if (handle_ != -1) OsClose(handle_);
    }

    /// Whether it is open.
    explicit operator bool() const {
        return handle_ != -1;
    }
    /// For the calls of vr/files.h; -1 when it is not open.
    int32_t get() const {
        return handle_;
    }

private:
    int32_t handle_ = -1;
};

}  // namespace vr

#endif
