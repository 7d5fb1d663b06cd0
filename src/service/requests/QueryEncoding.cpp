#include "service/requests/QueryEncoding.h"

namespace tovri {
namespace {

bool staysInQuery(char c) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
    return c != '\0' && std::string_view("-._~!$'()*+,;:@/?").contains(c);
}

void appendEncoded(std::string& text, std::string_view bytes) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    for (const char c : bytes) {
        if (staysInQuery(c)) {
            text += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            text += '%';
            text += digits[byte >> 4U];
            text += digits[byte & 15U];
        }
    }
}

}  // namespace

std::string percentEncodedQuery(const std::vector<QueryItem>& items) {
    std::string query;
    for (const auto& [name, value] : items) {
        if (!query.empty()) query += '&';
        appendEncoded(query, name);
        query += '=';
        appendEncoded(query, value);
    }
    return query;
}

std::string formEncoded(const std::vector<QueryItem>& items) {
    std::string form;
    for (const char c : percentEncodedQuery(items)) {
        if (c == '+')
            form += "%2B";
        else
            form += c;
    }
    return form;
}

}  // namespace tovri
