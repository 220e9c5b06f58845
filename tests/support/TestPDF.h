#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace korvane {

/** A PDF of these objects, numbered from 1 on; the first is the catalog. */
inline std::string makePDF(const std::vector<std::string>& objects,
                           std::string_view trailer = "/Root 1 0 R")
{
    std::string pdf = "%PDF-1.5\n", table;
    for (const std::string& object : objects) {
        const std::string offset = std::to_string(pdf.size());
        table += std::string(10 - offset.size(), '0') + offset + " 00000 n \n";
        pdf += std::to_string(table.size() / 20) + " 0 obj\n" + object + "\nendobj\n";
    }
    const std::string size = std::to_string(objects.size() + 1);
    return pdf + "xref\n0 " + size + "\n0000000000 65535 f \n" + table + "trailer\n<< /Size " +
           size + " " + std::string(trailer) + " >>\nstartxref\n" + std::to_string(pdf.size()) +
           "\n%%EOF\n";
}

inline std::string pdfStream(std::string_view content, std::string_view entries = "")
{
    return "<< " + std::string(entries) + " /Length " + std::to_string(content.size()) +
           " >>\nstream\n" + std::string(content) + "\nendstream";
}

} // namespace korvane
