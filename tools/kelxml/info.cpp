#include <cstdio>

#include "tools/kelxml/output.h"
#include "tools/kelxml/verbs.h"

namespace kelxml {

namespace {

std::string guidText(const KelClassId& id) {
    char text[40];
    std::snprintf(text, sizeof text, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", id.data1, id.data2,
                  id.data3, id.data4[0], id.data4[1], id.data4[2], id.data4[3], id.data4[4], id.data4[5],
                  id.data4[6], id.data4[7]);
    return text;
}

void line(Output& output, const char* label, const std::string& value) {
    output.write(label, Ink::Dim);
    output.write(value + "\n");
}

}  // namespace

void info(Session& session) {
    const kelhost::Component& component = session.component();
    Output output;
    line(output, "component   ", component.name());
    line(output, "version     ", component.version());
    line(output, "identifier  ", guidText(component.classId()));
    for (const kelhost::ComponentClass& offered : component.classes()) {
        line(output, "class       ", guidText(offered.id) + "  " + offered.name);
    }
    for (const std::string& service : session.host().serviceNames()) line(output, "service     ", service);
    output.finish();
}

}  // namespace kelxml
