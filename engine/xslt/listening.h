// libxslt tells what it dislikes about a style sheet to one handler for the whole process. While an object of
// this class lives, what this thread's calls have to say goes to `causes`; all other threads are forwarded to
// the handler that was there before, which is put back when the last object goes.
// Threads: made and destroyed on one thread; any number of threads at once.
#pragma once

#include "engine/xml2/errors.h"

namespace engine::xslt {

class Listening final {
public:
    explicit Listening(xml2::Causes& causes);
    ~Listening();
    Listening(const Listening&) = delete;
    Listening& operator=(const Listening&) = delete;

private:
    xml2::Causes* previous_;
};

}  // namespace engine::xslt
