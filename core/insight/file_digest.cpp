#include "core/insight/file_digest.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <algorithm>
#include <utility>

#include "core/measure/patient_open.h"

namespace brindle {

namespace {

// Small enough to be digested while it is still in the processor's cache: more gained nothing. The test for
// cancellation is asked for each.
constexpr std::size_t kPiece = 256 * 1024;
constexpr std::uint64_t kEnd = 4 * 1024;

// Fetched once: each look-up takes a lock. No configuration file is read, whatever the environment names.
const EVP_MD* sha256() {
    static const EVP_MD* const kDigest = [] {
        OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG, nullptr);
        return EVP_MD_fetch(nullptr, "SHA256", nullptr);
    }();
    return kDigest;
}

EVP_MD_CTX* contextOf(void* state) {
    return static_cast<EVP_MD_CTX*>(state);
}

}  // namespace

std::string hexadecimal(const Sha256& digest) {
    return fmt::format("{:02x}", fmt::join(digest, ""));
}

bool SeenFile::is(const FileStatus& status) const {
    return status.isRegular() && status.linkCount == 1 && status.device == device && status.inode == inode &&
           status.size >= 0 && static_cast<std::uint64_t>(status.size) == size &&
           status.modified == modified && status.modifiedNanoseconds == modifiedNanoseconds;
}

DigestReader::DigestReader(CancellationTest isCancelled)
    : isCancelled_(std::move(isCancelled)), state_(sha256() == nullptr ? nullptr : EVP_MD_CTX_new()) {}

DigestReader::~DigestReader() {
    EVP_MD_CTX_free(contextOf(state_));
}

std::optional<Sha256> DigestReader::whole(const std::string& path, const SeenFile& seen) {
    return digest(path, seen, std::array{Span{0, seen.size}});
}

std::optional<Sha256> DigestReader::ends(const std::string& path, const SeenFile& seen) {
    if (seen.size <= kEndsHoldAll) return whole(path, seen);
    return digest(path, seen, std::array{Span{0, kEnd}, Span{seen.size - kEnd, kEnd}});
}

std::optional<Sha256> DigestReader::digest(const std::string& path, const SeenFile& seen,
                                           std::span<const Span> spans) {
    RegularFile file;
    FileStatus status;
    if (state_ == nullptr || openPatiently([&] { return file.open(path); }) != 0) return std::nullopt;
    if (file.status(status) != 0 || !seen.is(status)) return std::nullopt;
    if (EVP_DigestInit_ex2(contextOf(state_), sha256(), nullptr) != 1) return std::nullopt;
    if (seen.size > kEndsHoldAll)
        file.expect(spans.size() == 1 ? RegularFile::Use::whole : RegularFile::Use::parts, 0, seen.size);
    if (!std::ranges::all_of(spans, [&](const Span& span) { return take(file, span); })) return std::nullopt;
    Sha256 result{};
    if (EVP_DigestFinal_ex(contextOf(state_), result.data(), nullptr) != 1) return std::nullopt;
    // Asked by the path: nothing may have come in the place of what was read, either.
    const auto after = statusOf(path);
    return after && seen.is(*after) ? std::optional(result) : std::nullopt;
}

bool DigestReader::take(const RegularFile& file, const Span& span) {
    for (std::uint64_t done = 0; done < span.bytes;) {
        if (isCancelled_ && isCancelled_()) return false;
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(kPiece, span.bytes - done));
        if (room_.size() < wanted) room_.resize(wanted);
        std::size_t got = 0;
        if (file.readAt(span.from + done, std::span(room_).first(wanted), got) != 0 || got != wanted)
            return false;
        if (EVP_DigestUpdate(contextOf(state_), room_.data(), got) != 1) return false;
        done += got;
    }
    return true;
}

}  // namespace brindle
