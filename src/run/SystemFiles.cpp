#include "SystemFiles.h"

#include <cstdlib>

std::string SystemFiles::path(const char* name)
{
    const char* root = getenv("ZELCONV_SYSROOT");
    if (root == nullptr || *root == '\0')
        return name;
    std::string result(root);
    while (!result.empty() && result.back() == '/')
        result.pop_back();
    return result + name;
}

std::string SystemFiles::directory(const char* variable, const char* name)
{
    const char* value = getenv(variable);
    return value != nullptr ? std::string(value) : path(name);
}
