// The application's drawing as the service that makes way for the report of a fatal condition: two functions
// instead of an interface with nine positions.
//
//     host.offer("IGfxRenderer", *new kelhost::RendererAdapter([&] { window.leaveFullScreen(); },
//                                                              [&] { window.redraw(); }));
#pragma once

#include <functional>
#include <utility>

#include "KelBasicTypes/igfxrenderer.h"
#include "framework/object/implements.h"

namespace kelhost {

// Threads: the functions are called on the thread that reports, which may have run out of memory: they must
// not allocate. Empty ones do nothing.
class RendererAdapter final : public kel::Implements<RendererAdapter, IGfxRenderer> {
public:
    static constexpr const char* kClassName = "RendererAdapter";

    // Before a report, and after the user has closed a message box.
    RendererAdapter(std::function<void()> beforeReport, std::function<void()> afterMessageBox)
        : beforeReport_(std::move(beforeReport)), afterMessageBox_(std::move(afterMessageBox)) {}

    void beforeReport() override {
        if (beforeReport_) beforeReport_();
    }
    void afterMessageBox() override {
        if (afterMessageBox_) afterMessageBox_();
    }

private:
    std::function<void()> beforeReport_;
    std::function<void()> afterMessageBox_;
};

}  // namespace kelhost
