// What a process that ends looks like from outside. Each platform has a header of this name.
#pragma once

#include <windows.h>

#include <thread>

namespace kel::test {

inline constexpr int kStatusOfMinusOne = -1;

// What the box before the end leaves on standard error: it is a window, or nothing where no windows can be.
inline constexpr const char* kOutOfMemoryBox = "";

// Presses the button of any message box of this process, from now to its end.
class ButtonPresser {
public:
    ButtonPresser() {
        std::thread([] {
            for (;; Sleep(10)) {
                const HWND box = FindWindowW(L"#32770", L"Out of Memory");  // the class of all such boxes
                if (box != nullptr) (void)PostMessageW(box, WM_COMMAND, IDOK, 0);  // tried again if rejected
            }
        }).detach();
    }
};

}  // namespace kel::test
