/// @file
/// The elements of a dynamic array for C++20, as ranges of views into its text.
///
/// @code
///     for (std::string_view attribute : vr::Attributes(text))
///         for (std::string_view value : vr::Values(attribute)) ...
/// @endcode
#ifndef VR_ELEMENTS_HPP
#define VR_ELEMENTS_HPP

#include <cstddef>
#include <cstring>
#include <iterator>
#include <ranges>
#include <string_view>

#include "vr/walk.h"

namespace vr {

// Of view_base alone, since clang 14 rejects the view_interface of GCC 12.

/// The elements of a text between marks of one kind, as views into it: n marks separate n + 1
/// elements, and an empty text has none. They are valid until the text changes.
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
    /// Whether there are none.
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

}  // namespace vr

/// @cond
template <>
inline constexpr bool std::ranges::enable_borrowed_range<vr::Elements> = true;
/// @endcond

#endif
