#include "tools/kelxml/complaint.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <new>

#include "KelBasicTypes/utf8.h"
#include "msxml_parser/comerror.h"

#include "tools/kelxml/message.h"

namespace kelxml {

namespace {

std::string describe(const _com_error& error) {
    char status[16];
    std::snprintf(status, sizeof status, "0x%08X", static_cast<unsigned int>(error.Error()));
    const std::u16string description = msxml::descriptionTextOf(error);
    return tr("engine error %1: %2", status,
              description.empty() ? std::string(error.ErrorMessage()) : kel::toUtf8(description));
}

}  // namespace

Complaint complaintOfCurrentException() {
    try {
        throw;
    } catch (const ReaderGone&) {
        throw;
    } catch (const Failure& failure) {
        return {failure.status(), failure.what()};
    } catch (const _com_error& error) {
        return {kRefused, describe(error)};
    } catch (const std::bad_alloc&) {
        return {kRefused, tr("the document does not fit into memory")};
    } catch (const std::exception& error) {
        return {kRefused, error.what()};
    }
}

void tell(const std::string& message) {
    std::fprintf(stderr, "kelxml: %s\n", message.c_str());
}

void forEachFile(const std::vector<std::string>& files, const std::function<void(const std::string&)>& work) {
    if (std::ranges::count(files, "-") > 1)
        throw Failure(kWrongUsage, tr("standard input can be read only once"));
    if (files.size() == 1) return work(files.front());
    std::size_t refused = 0;
    ExitStatus worst = kDone;
    for (const std::string& file : files) {
        try {
            work(file);
        } catch (...) {
            const Complaint complaint = complaintOfCurrentException();
            tell(complaint.message);
            worst = std::max(worst, complaint.status);
            ++refused;
        }
    }
    if (refused == 0) return;
    throw Failure(
        worst, tr("%1 of %2 documents were refused", std::to_string(refused), std::to_string(files.size())));
}

}  // namespace kelxml
