// Where handles that are made and dropped all the time have their memory. Each platform has a header of this
// name. Here: on the heap, for the system's objects behind them cost far more.
#pragma once

namespace msxml {
class Pooled {
protected:
    ~Pooled() = default;
};
}  // namespace msxml
