#include "lib/qpdf/DocumentSafety.h"

#include "lib/qpdf/QPDFHeaders.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace korvane {

namespace {

constexpr std::size_t maxObjects = 1'000'000;
constexpr std::size_t maxWarnings = 100;

bool isSignature(QPDFObjectHandle object)
{
    return object.isDictionary() && object.getKey("/ByteRange").isArray() &&
           object.getKey("/Contents").isString();
}

bool isSignedField(QPDFObjectHandle object)
{
    if (!object.isDictionary() || !object.hasKey("/V")) return false;
    return object.getKey("/FT").isNameAndEquals("/Sig") || isSignature(object.getKey("/V"));
}

bool hasPermissions(QPDF& pdf)
{
    QPDFObjectHandle permissions = pdf.getRoot().getKey("/Perms");
    if (!permissions.isDictionary()) return false;
    const char* const kinds[] = {"/DocMDP", "/UR3", "/UR"};
    return std::any_of(std::begin(kinds), std::end(kinds),
                       [&](const char* kind) { return permissions.hasKey(kind); });
}

} // namespace

bool readObjects(QPDF& pdf)
{
    const auto table = pdf.getXRefTable();
    if (table.size() > maxObjects) return false;
    return std::all_of(table.begin(), table.end(), [&](const auto& entry) {
        pdf.getObject(entry.first).getTypeCode();
        return pdf.numWarnings() <= maxWarnings;
    });
}

bool isSigned(QPDF& pdf)
{
    // Not found by way of the form's fields, whose tree a hostile document can make endless.
    const std::vector<QPDFObjectHandle> objects = pdf.getAllObjects();
    return hasPermissions(pdf) ||
           std::any_of(objects.begin(), objects.end(), [](const QPDFObjectHandle& object) {
               return isSignature(object) || isSignedField(object);
           });
}

bool lacksObjects(QPDF& pdf)
{
    const std::vector<QPDFObjectHandle> objects = pdf.getAllObjects();
    return std::any_of(objects.begin(), objects.end(),
                       [](QPDFObjectHandle object) { return object.isNull(); });
}

void keepStreams(QPDF& pdf)
{
    for (QPDFObjectHandle& object : pdf.getAllObjects()) {
        if (object.isStream()) object.setFilterOnWrite(false);
    }
}

} // namespace korvane
