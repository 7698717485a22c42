#include "tools/kelxml/report/exception.h"

#include <cstdio>
#include <exception>
#include <new>

#include "KelBasicTypes/utf8.h"
#include "msxml_parser/comerror.h"

#include "tools/kelxml/report/message.h"

namespace kelxml {

namespace {

std::string describe(const _com_error& error) {
    const std::u16string description = msxml::descriptionTextOf(error);
    if (!description.empty()) return kel::toUtf8(description);
    char status[16];
    std::snprintf(status, sizeof status, "0x%08X", static_cast<unsigned int>(error.Error()));
    return tr("engine error %1: %2", status, std::string(error.ErrorMessage()));
}

}  // namespace

Exception currentException() {
    try {
        throw;
    } catch (const ReaderGone&) {
        throw;
    } catch (const Reported&) {
        throw;
    } catch (const Exception& exception) {
        return exception;
    } catch (const _com_error& error) {
        return {kRejected, describe(error)};
    } catch (const std::bad_alloc&) {
        return {kRejected, tr("the document does not fit into memory")};
    } catch (const std::exception& error) {
        return {kRejected, std::string(error.what())};
    }
}

}  // namespace kelxml
