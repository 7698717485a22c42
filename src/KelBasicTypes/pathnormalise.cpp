#include "KelBasicTypes/pathnormalise.h"

namespace kel {

KelString normalisePath(const KelString& path) {
    KelString result(path.view());
    if (result.length() == 2 && result[1] == u':') result.append(u'\\');
    return result;
}

}  // namespace kel
