// Parsing escape sequences. A reader consumes the bytes that fit, one after the other, and reports
// in the end how far it came, well-formed or not.

#include <cstdint>

#include "vr/terminal.h"

namespace {

class Reader {
public:
    // After the command letter.
    explicit Reader(const char* text) : start_(text), next_(text + 1) {}

    char Next() const {
        return *next_;
    }

    bool Take(char c) {
        if (*next_ != c) return false;
        ++next_;
        return true;
    }

    void PassBlanks() {
        while (Take(' ')) {
        }
    }

    int32_t Number() {
        PassBlanks();
        const bool negative = Take('-');
        Take('+');
        uint32_t value = 0;
        for (; *next_ >= '0' && *next_ <= '9'; ++next_)
            value = value * 10 + static_cast<uint32_t>(*next_ - '0');
        PassBlanks();
        return static_cast<int32_t>(negative ? 0 - value : value);
    }

    // Stores a number, which a comma must follow.
    bool NumberAndComma(int32_t* number) {
        *number = Number();
        return Take(',');
    }

    // A number at the end of the sequence.
    bool NumberAndDot(int32_t* number) {
        *number = Number();
        return Take('.');
    }

    int32_t Result(bool wellFormed, int32_t* used) const {
        *used = static_cast<int32_t>(next_ - start_);
        return wellFormed ? 1 : 0;
    }

private:
    const char* start_;
    const char* next_;
};

// R with nothing or a number.
bool ReadRestore(Reader& reader, int32_t* p7) {
    *p7 = 0;
    return reader.Take('.') || (reader.Take(',') && reader.NumberAndDot(p7));
}

// The fifth and sixth number of D.
bool ReadDrawEnd(Reader& reader, int32_t* p5, int32_t* p6) {
    if (!reader.Take(',')) return false;
    *p5 = reader.Number();
    return reader.Take('.') || (reader.Take(',') && reader.NumberAndDot(p6));
}

bool ReadSaveEnd(Reader& reader, int32_t* p7) {
    return reader.Take(',') && reader.NumberAndDot(p7);
}

}  // namespace

int32_t TermEscAt(const char* text, int32_t* used, int32_t* first, int32_t* second) {
    Reader reader(text);
    const bool good = reader.NumberAndComma(first) && reader.NumberAndDot(second);
    return reader.Result(good, used);
}

int32_t TermEscVideo(const char* text, int32_t* used, int32_t* mode) {
    Reader reader(text);
    const bool good = reader.NumberAndDot(mode);
    return reader.Result(good, used);
}

int32_t TermEscColour(const char* text, int32_t* used, unsigned char* plane, int32_t* colour) {
    Reader reader(text);
    reader.PassBlanks();
    const char letter = reader.Next();
    if (!reader.Take('B') && !reader.Take('F')) return reader.Result(false, used);
    *plane = static_cast<unsigned char>(letter);
    const bool good = reader.NumberAndDot(colour);
    return reader.Result(good, used);
}

int32_t TermEscWindow(const char* text, int32_t* used, int32_t* p1, int32_t* p2, int32_t* p3,
                      int32_t* p4, int32_t* p5, int32_t* p6, int32_t* p7) {
    Reader reader(text);
    reader.PassBlanks();
    if (reader.Take('R')) {
        const bool good = ReadRestore(reader, p7);
        return reader.Result(good, used);
    }
    const bool draws = reader.Take('D');
    if (!draws && !reader.Take('S')) return reader.Result(true, used);

    *p5 = *p6 = *p7 = 0;
    if (!reader.NumberAndComma(p1) || !reader.NumberAndComma(p2) || !reader.NumberAndComma(p3)) {
        return reader.Result(false, used);
    }
    *p4 = reader.Number();
    const bool good =
        reader.Take('.') || (draws ? ReadDrawEnd(reader, p5, p6) : ReadSaveEnd(reader, p7));
    return reader.Result(good, used);
}
