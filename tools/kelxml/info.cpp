#include "KelBasicTypes/classidtext.h"
#include "tools/kelxml/output.h"
#include "tools/kelxml/verbs.h"

namespace kelxml {

namespace {

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
    line(output, "identifier  ", kel::classIdText(component.classId()));
    for (const kelhost::ComponentClass& offered : component.classes()) {
        line(output, "class       ", kel::classIdText(offered.id) + "  " + offered.name);
    }
    for (const std::string& service : session.host().serviceNames()) line(output, "service     ", service);
    output.finish();
}

}  // namespace kelxml
