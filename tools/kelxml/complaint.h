// Standard error: how failures are put.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/kelxml/failure.h"

namespace kelxml {

struct Complaint {
    ExitStatus status;
    std::string message;
};

// Of the exception being handled. ReaderGone is none and is thrown on.
[[nodiscard]] Complaint complaintOfCurrentException();

// "kelxml: message".
void tell(const std::string& message);

// One file after the other. What goes wrong with one of several is told, and the others have their turn; at
// the end that is one Failure with the worst status. A single file's failure leaves as it is, and so does
// ReaderGone. Standard input can be asked for only once: Failure, before anything is done.
void forEachFile(const std::vector<std::string>& files, const std::function<void(const std::string&)>& work);

}  // namespace kelxml
