// The INI document: any bytes as a file, then the section list and a lookup.
#include <string>
#include <vector>

#include "config/IniParser.h"
#include "fuzz/FuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzFile file(data, size);
    if (!file.ok())
        return 0;
    IniParser doc;
    doc.OnLoad(file.path());
    std::vector<std::string> names;
    doc.OnGetSectionList(names);
    for (const std::string& name : names) {
        double value = 0;
        doc.OnGetValue(name, "Dof", &value, 0);
    }
    return 0;
}
