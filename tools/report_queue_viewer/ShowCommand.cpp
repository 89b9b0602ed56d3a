#include <fmt/format.h>

#include "ViewerCommands.h"
#include "ViewerText.h"
#include "QuorvelReportCrypto.h"
#include "ReportFile.h"

namespace viewer {

int ShowReport(const std::wstring& path) {
    const auto cipher = ReadReportFile(path);
    if (!cipher) {
        fmt::print(stderr, "cannot read {}\n", Utf8(path));
        return kNotFound;
    }
    if (cipher->empty()) {
        fmt::print(stderr, "{} is empty: the uploader deletes it without sending anything\n", Utf8(path));
        return kNotFound;
    }
    const std::string body = quorvel::DecryptReport(*cipher);
    if (body.empty()) {
        fmt::print(stderr, "{} ({} bytes) does not decrypt with this build's report key: the uploader deletes it\n",
                   Utf8(path), cipher->size());
        return kNotFound;
    }
    fmt::print("{}: {} bytes encrypted, {} bytes of body\n", Utf8(path), cipher->size(), body.size());
    if (const auto formatted = FormatReportBody(body)) {
        fmt::print("{}\n", *formatted);
    } else {
        fmt::print("the body is not JSON; as stored:\n{}\n", body);
    }
    return kSuccess;
}

}  // namespace viewer
