/// @file
/// The library for C++20: strings, keys and files that give themselves back, dynamic arrays as
/// ranges, edits without a choice between the old string and the new one. All of it is inline
/// over the C interface. get() and release() lead back to it, and it stays usable beside this.
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

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <ranges>
#include <string_view>
#include <utility>

#include "vr/edit.h"
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
    /// Takes a string of the C interface over, or null for an empty one.
    explicit String(VrString taken) : s_(taken) {}
    /// The copy keeps the memo, as that of NewString.
    String(const String& other) : s_(_NewString(other.get(), VR_MODULE, __LINE__)) {}
    /// Takes the other one's string, and leaves it empty.
    String(String&& other) noexcept : s_(std::exchange(other.s_, nullptr)) {}
    /// Frees what was there.
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
    /// Gives the string up: the caller frees it. This one is then empty.
    [[nodiscard]] VrString release() {
        VrString s = get();
        s_ = nullptr;
        return s;
    }
    /// For a call that returns a new string through the address of a variable: frees what was
    /// there first.
    VrString* out() {
        _free_mem(&s_, VR_MODULE, __LINE__);
        s_ = nullptr;
        return &s_;
    }

    /// The bytes, while the string stands unchanged.
    operator std::string_view() const {
        return View(get());
    }
    /// With a zero after the last byte.
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

    /// Puts the text in the place of an element, as UtilInsertReplace does; with a number kEnd
    /// after the last one. Returns the cursor of the element. `text` may lie in this string.
    int32_t replace(Position position, std::string_view text) {
        return Edit(position, text, 1);
    }
    /// The same in front of an element.
    int32_t insert(Position position, std::string_view text) {
        return Edit(position, text, 0);
    }
    /// A new attribute at the end.
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
        UtilPosition at = {position.attribute, position.value, position.subvalue, kVrFirstCursor};
        VrString before = get();
        VrString after = UtilInsertReplace(&at, before, element, replace);
        if (after != before) *out() = after;
        return at.cursor;
    }

    VrString s_ = nullptr;  // null is empty too
};

// Of view_base alone, since clang 14 rejects the view_interface of GCC 12.

/// The elements of a text between marks of one kind, as views into it: n marks give n + 1
/// elements, and an empty text has none. The text must outlive them unchanged.
class Elements : public std::ranges::view_base {
public:
    /// A forward iterator; its elements are views.
    class Iterator {
    public:
        /// @cond as every iterator has them
        using iterator_concept = std::forward_iterator_tag;
        using iterator_category = std::input_iterator_tag;  // its elements are made on the way
        using value_type = std::string_view;
        using difference_type = std::ptrdiff_t;
        using reference = std::string_view;
        using pointer = void;

        Iterator() = default;
        Iterator(std::string_view text, unsigned char mark)
            : begin_(text.empty() ? nullptr : text.data()),
              end_(text.data() + text.size()),
              mark_(mark) {
            if (begin_ != nullptr) FindStop();
        }
        std::string_view operator*() const {
            return {begin_, static_cast<size_t>(stop_ - begin_)};
        }
        Iterator& operator++() {
            begin_ = stop_ == end_ ? nullptr : stop_ + 1;
            if (begin_ != nullptr) FindStop();
            return *this;
        }
        Iterator operator++(int) {
            Iterator before = *this;
            ++*this;
            return before;
        }
        bool operator==(const Iterator& other) const {
            return begin_ == other.begin_;
        }
        bool operator==(std::default_sentinel_t) const {
            return begin_ == nullptr;
        }
        /// @endcond

    private:
        void FindStop() {
            const void* found = std::memchr(begin_, mark_, static_cast<size_t>(end_ - begin_));
            stop_ = found == nullptr ? end_ : static_cast<const char*>(found);
        }

        const char* begin_ = nullptr;  // of the element; null after the last one
        const char* stop_ = nullptr;   // the mark after it, or the end
        const char* end_ = nullptr;
        unsigned char mark_ = 0;
    };

    /// The elements of the text between bytes `mark`.
    Elements(std::string_view text, unsigned char mark) : text_(text), mark_(mark) {}
    /// The first element.
    Iterator begin() const {
        return {text_, mark_};
    }
    /// After the last one.
    std::default_sentinel_t end() const {
        return {};
    }
    /// Whether there is none.
    bool empty() const {
        return text_.empty();
    }

private:
    std::string_view text_;
    unsigned char mark_;
};

/// The attributes of a record.
inline Elements Attributes(std::string_view text) {
    return {text, kVrAttributeMark};
}
/// The values of an attribute.
inline Elements Values(std::string_view text) {
    return {text, kVrValueMark};
}
/// The subvalues of a value.
inline Elements Subvalues(std::string_view text) {
    return {text, kVrSubvalueMark};
}
/// @cond a string that goes at once would take its elements with it
Elements Attributes(String&&) = delete;
Elements Values(String&&) = delete;
Elements Subvalues(String&&) = delete;
/// @endcond

/// A record's key (vr/record.h), which gives itself back. Needs the library vrrecord.
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
    /// Takes the other one's file.
    File(File&& other) noexcept : handle_(std::exchange(other.handle_, -1)) {}
    /// Closes what was open.
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

/// @cond
template <>
inline constexpr bool std::ranges::enable_borrowed_range<vr::Elements> = true;
/// @endcond

#endif
