// One platform value of every type of the conversion table, and the locale's decimal mark.
#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <string>

#include "TOVXStorageApi.h"
#include "TOVXStructuredStorageUtils.h"

namespace {

struct Converted {
    std::string text;
    int type;
};

Converted convert(const PROPVARIANT& value, const char* textBefore = "", int typeBefore = -1) {
    TOVXString text = TOVXString::FromUtf8(textBefore);
    int type = typeBefore;
    EXPECT_EQ(TOVXStructuredStorageUtils::ConvertValueToString(value, text, type).Code(), TOVX_OK);
    return {text.ToUtf8(), type};
}

PROPVARIANT variant(VARTYPE vt) {
    PROPVARIANT value;
    std::memset(&value, 0, sizeof value);
    value.vt = vt;
    return value;
}

const WCHAR kWide[] = {'w', 0xE9, 'd', 0};
const WCHAR kEmpty[] = {0};
// A BSTR's text follows its byte count.
const WCHAR kBstr[] = {8, 0, 'b', 's', 't', 'r', 0};
CLSID kClsid = {0x00020906, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};
char kNarrow[] = "caf\xC3\xA9";  // UTF-8, as the platform hands narrow text out here
char kNarrowOther[] = "\xE9t\xE9";   // not UTF-8: read as Windows-1252

struct Row {
    const char* what;
    PROPVARIANT value;
    const char* text;
    int type;
};

std::vector<Row> everyType() {
    std::vector<Row> rows;
    auto add = [&rows](const char* what, VARTYPE vt, auto fill, const char* text, int type) {
        PROPVARIANT value = variant(vt);
        fill(value);
        rows.push_back({what, value, text, type});
    };
    auto none = [](PROPVARIANT&) {};
    add("VT_EMPTY", VT_EMPTY, none, "", -1);
    add("VT_NULL", VT_NULL, none, "", -1);
    add("VT_VOID", VT_VOID, none, "", -1);
    add("VT_I2", VT_I2, [](PROPVARIANT& v) { v.iVal = -12; }, "-12", 2);
    add("VT_I4", VT_I4, [](PROPVARIANT& v) { v.lVal = -2147483647 - 1; }, "-2147483648", 2);
    add("VT_INT", VT_INT, [](PROPVARIANT& v) { v.intVal = 7; }, "7", 2);
    add("VT_R4", VT_R4, [](PROPVARIANT& v) { v.fltVal = 1.5f; }, "1.500000", 3);
    add("VT_R8", VT_R8, [](PROPVARIANT& v) { v.dblVal = -0.25; }, "-0.250000", 3);
    add("VT_CY", VT_CY, [](PROPVARIANT& v) { v.cyVal.int64 = 12345678; }, "$1234.567800", 1);
    add("VT_CY negative", VT_CY, [](PROPVARIANT& v) { v.cyVal.int64 = -5000; }, "$-0.500000", 1);
    add("VT_BSTR", VT_BSTR, [](PROPVARIANT& v) { v.bstrVal = const_cast<WCHAR*>(kBstr + 2); }, "bstr", 1);
    add("VT_ERROR", VT_ERROR, [](PROPVARIANT& v) { v.scode = static_cast<SCODE>(0x80030002u); }, "0x80030002", 2);
    add("VT_BOOL 0xFFFF", VT_BOOL, [](PROPVARIANT& v) { v.boolVal = VARIANT_TRUE; }, "True", 4);
    add("VT_BOOL 1", VT_BOOL, [](PROPVARIANT& v) { v.boolVal = 1; }, "False", 4);
    add("VT_I1", VT_I1, [](PROPVARIANT& v) { v.cVal = static_cast<CHAR>(-5); }, "-5", 1);
    add("VT_UI1", VT_UI1, [](PROPVARIANT& v) { v.bVal = 200; }, "200", 1);
    add("VT_UI2", VT_UI2, [](PROPVARIANT& v) { v.uiVal = 65535; }, "65535", 2);
    add("VT_UI4", VT_UI4, [](PROPVARIANT& v) { v.ulVal = 4294967295u; }, "4294967295", 2);
    add("VT_UINT", VT_UINT, [](PROPVARIANT& v) { v.uintVal = 3; }, "3", 2);
    add("VT_I8", VT_I8, [](PROPVARIANT& v) { v.hVal.QuadPart = -9000000000LL; }, "-9000000000", 2);
    add("VT_UI8", VT_UI8, [](PROPVARIANT& v) { v.uhVal.QuadPart = 18446744073709551615ULL; }, "18446744073709551615", 2);
    add("VT_LPSTR", VT_LPSTR, [](PROPVARIANT& v) { v.pszVal = kNarrow; }, "caf\xC3\xA9", 1);
    add("VT_LPSTR, not UTF-8", VT_LPSTR, [](PROPVARIANT& v) { v.pszVal = kNarrowOther; }, "\xC3\xA9t\xC3\xA9", 1);
    add("VT_LPWSTR", VT_LPWSTR, [](PROPVARIANT& v) { v.pwszVal = const_cast<WCHAR*>(kWide); }, "w\xC3\xA9" "d", 1);
    add("VT_FILETIME", VT_FILETIME, [](PROPVARIANT& v) {
        v.filetime.dwLowDateTime = 0xD53E8000u;  // 1970-01-01 00:00:00
        v.filetime.dwHighDateTime = 0x019DB1DEu;
    }, "1970-01-01 00:00:00", 5);
    add("VT_CLSID", VT_CLSID, [](PROPVARIANT& v) { v.puuid = &kClsid; }, "{00020906-0000-0000-C000-000000000046}", 2);
    add("VT_DATE", VT_DATE, [](PROPVARIANT& v) { v.date = 1.0; }, "...", 0);
    add("VT_DECIMAL", VT_DECIMAL, none, "...", 0);
    add("VT_BLOB", VT_BLOB, none, "...", 0);
    add("VT_CF", VT_CF, none, "...", 0);
    add("VT_VECTOR|VT_LPSTR", VT_VECTOR | VT_LPSTR, none, "...", 0);
    add("VT_ARRAY|VT_I4", VT_ARRAY | VT_I4, none, "...", 0);
    add("VT_BYREF|VT_I4", VT_BYREF | VT_I4, none, "...", 0);
    add("above the table", 0x49, none, "...", 0);
    return rows;
}

}  // namespace

TEST(HostConvert, EveryTypeOfTheTable) {
    for (const Row& row : everyType()) {
        const Converted got = convert(row.value);
        EXPECT_EQ(got.text, row.text) << row.what;
        EXPECT_EQ(got.type, row.type) << row.what;
    }
}

TEST(HostConvert, TextAlreadyHeldAndTheStringTypesEdges) {
    PROPVARIANT number = variant(VT_I4);
    number.lVal = 5;
    EXPECT_EQ(convert(number, "kept", -1).text, "kept");  // formatted text never replaces text held
    EXPECT_EQ(convert(number, "kept", -1).type, 2);
    EXPECT_EQ(convert(variant(VT_EMPTY), "kept", 9).type, 9);

    PROPVARIANT wide = variant(VT_LPWSTR);
    EXPECT_EQ(convert(wide, "kept", 9).type, 9);  // a null pointer changes nothing
    wide.pwszVal = const_cast<WCHAR*>(kEmpty);
    const Converted emptyWide = convert(wide, "kept", 9);
    EXPECT_EQ(emptyWide.text, "kept");
    EXPECT_EQ(emptyWide.type, 1);
    PROPVARIANT bstr = variant(VT_BSTR);
    bstr.bstrVal = const_cast<WCHAR*>(kEmpty);
    const Converted emptyBstr = convert(bstr, "gone", 9);
    EXPECT_EQ(emptyBstr.text, "");
    EXPECT_EQ(emptyBstr.type, 1);
    PROPVARIANT narrow = variant(VT_LPSTR);
    EXPECT_EQ(convert(narrow, "gone", 9).text, "");  // null narrow text is empty text
    PROPVARIANT huge = variant(VT_R8);
    huge.dblVal = 1e300;
    const Converted cut = convert(huge);
    EXPECT_EQ(cut.text.size(), 260u);  // cut at 260: the first digits, no decimals
    EXPECT_EQ(cut.text.substr(0, 5), "10000");
    EXPECT_EQ(cut.text.find('.'), std::string::npos);
}

TEST(HostConvert, FloatsShowAPointUnderADecimalCommaWhileCurrencyKeepsTheComma) {
    // POSIX names first, then the names Windows' C runtime knows.
    const char* const candidates[] = {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "nl_NL.UTF-8", "German_Germany.1252", "de-DE"};
    const std::string previous = std::setlocale(LC_NUMERIC, nullptr);
    const char* chosen = nullptr;
    for (const char* name : candidates) {
        if (std::setlocale(LC_NUMERIC, name) != nullptr) {
            chosen = name;
            break;
        }
    }
    if (chosen == nullptr) GTEST_SKIP() << "no locale with a decimal comma is installed (.ci/run makes de_DE.UTF-8)";
    PROPVARIANT r4 = variant(VT_R4);
    r4.fltVal = 2.5f;
    PROPVARIANT r8 = variant(VT_R8);
    r8.dblVal = 1234.5;
    PROPVARIANT cy = variant(VT_CY);
    cy.cyVal.int64 = 15000;
    const Converted single = convert(r4);
    const Converted dbl = convert(r8);
    const Converted currency = convert(cy);
    std::setlocale(LC_NUMERIC, previous.c_str());
    EXPECT_EQ(single.text, "2.500000") << chosen;
    EXPECT_EQ(dbl.text, "1234.500000") << chosen;
    EXPECT_EQ(currency.text, "$1,500000") << chosen;
}
