#include "tools/kelxml/completion.h"

namespace kelxml {

std::string completionFor(const std::string& shell, const Program& program) {
    if (shell == "bash") return bashCompletion(program);
    return shell == "zsh" ? zshCompletion(program) : fishCompletion(program);
}

}  // namespace kelxml
