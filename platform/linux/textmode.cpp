// Text mode. Reading takes the CR off each CR LF, in place and line by line, and stops at a
// Ctrl-Z; writing puts the CRs in, a chunk at a time.

#include "linux/textmode.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "linux/insist.h"
#include "linux/write.h"

namespace vrplatform {

namespace {

constexpr char kCtrlZ = 26;
constexpr size_t kChunkSize = 16384;
constexpr size_t kLineEndSize = 2;  // on disk

// Whether the next byte is an LF, which is then taken.
bool TakeLineFeed(int descriptor) {
    char next = 0;
    const off_t position = lseek(descriptor, 0, SEEK_CUR);
    if (position < 0 || pread(descriptor, &next, 1, position) != 1 || next != '\n') return false;
    lseek(descriptor, 1, SEEK_CUR);
    return true;
}

char* Find(char* from, char* end, char wanted) {
    auto* found = static_cast<char*>(std::memchr(from, wanted, static_cast<size_t>(end - from)));
    return found == nullptr ? end : found;
}

size_t SizeOnDisk(char c) {
    return c == '\n' ? kLineEndSize : 1;
}

// Puts as much of the text as fits, with its CRs, into the chunk, line by line; returns how
// much.
size_t FillChunk(const char* text, size_t count, char (&chunk)[kChunkSize], size_t& filled) {
    size_t taken = 0;
    filled = 0;
    for (;;) {
        const char* from = text + taken;
        const size_t fits = std::min(count - taken, kChunkSize - filled);
        const void* lineEnd = std::memchr(from, '\n', fits);
        const size_t line = lineEnd == nullptr
                                ? fits
                                : static_cast<size_t>(static_cast<const char*>(lineEnd) - from);
        std::memcpy(chunk + filled, from, line);
        taken += line;
        filled += line;
        if (lineEnd == nullptr || filled + kLineEndSize > kChunkSize) return taken;
        chunk[filled++] = '\r';
        chunk[filled++] = '\n';
        ++taken;
    }
}

// How many bytes of the text are complete in the first `written` bytes on disk. `written` becomes
// what is left: 1 for the CR of a line end without its LF.
size_t BytesWithin(const char* text, size_t& written) {
    size_t bytes = 0;
    while (written != 0 && written >= SizeOnDisk(text[bytes]))
        written -= SizeOnDisk(text[bytes++]);
    return bytes;
}

// Removes the byte before the position from the file, if it is the last one.
void TakeBack(int descriptor) {
    struct stat status;
    const off_t at = lseek(descriptor, -1, SEEK_CUR);
    if (at < 0 || fstat(descriptor, &status) != 0 || status.st_size != at + 1) return;
    [[maybe_unused]] const int cut = ftruncate(descriptor, at);
}

// The result of a write that was cut. Half a line end is removed, so that the next write writes it
// whole.
size_t BytesKept(int descriptor, const char* text, size_t written) {
    const size_t bytes = BytesWithin(text, written);
    if (written != 0) TakeBack(descriptor);
    return bytes;
}

}  // namespace

ssize_t ReadText(OpenFile& file, char* buffer, size_t count) {
    if (file.textEnded) return 0;
    const ssize_t got = Insist([&] { return read(file.descriptor.Get(), buffer, count); });
    if (got <= 0) return got;
    char* end = Find(buffer, buffer + got, kCtrlZ);
    file.textEnded = end != buffer + got;
    char* out = buffer;
    for (char* in = buffer; in != end;) {
        char* lineEnd = Find(in, end, '\r');
        if (out != in) std::memmove(out, in, static_cast<size_t>(lineEnd - in));
        out += lineEnd - in;
        in = lineEnd;
        if (in == end) break;
        ++in;
        const bool last = in == end;
        const bool pair =
            last ? !file.textEnded && TakeLineFeed(file.descriptor.Get()) : *in == '\n';
        *out++ = pair ? '\n' : '\r';
        if (pair && !last) ++in;
    }
    return out - buffer;
}

ssize_t WriteText(const OpenFile& file, const char* text, size_t count) {
    char chunk[kChunkSize];
    size_t done = 0;
    while (done < count) {
        size_t filled = 0;
        const size_t taken = FillChunk(text + done, count - done, chunk, filled);
        const ssize_t written = WriteHolding(file.descriptor.Get(), chunk, filled, file.maySignal);
        if (written < 0) return done != 0 ? static_cast<ssize_t>(done) : -1;
        if (static_cast<size_t>(written) < filled) {
            return static_cast<ssize_t>(
                done + BytesKept(file.descriptor.Get(), text + done, static_cast<size_t>(written)));
        }
        done += taken;
    }
    return static_cast<ssize_t>(done);
}

}  // namespace vrplatform
