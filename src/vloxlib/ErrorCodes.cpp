#include "vloxlib/ErrorCodes.h"

#include "vloxlib/NativeCodes.h"
#include "vloxlib/NumberText.h"

namespace vloxlib {

namespace {

struct CodePair {
    int wire;
    int native;
};

// All families but 15, in the order of the wire codes. 17018 and 17019 run in reverse; what has no row is
// unknown.
constexpr CodePair kNativeCodes[] = {
    {10001, -201},  {10003, -213},  {10004, -214},  {10005, -208},  {10006, -215},  {10007, -216},
    {10008, -104},  {10009, -104},  {10010, -217},  {10011, -218},  {10012, -104},  {10013, -200},
    {10014, -201},  {10015, -219},  {10016, -829},  {11001, -402},  {11010, -408},  {12006, -202},
    {13006, -306},  {13007, -307},  {13008, -308},  {13009, -309},  {13010, -310},  {13011, -311},
    {16001, -1000}, {16002, -1001}, {16003, -1001}, {16004, -1001}, {16005, -1001}, {16006, -1001},
    {16007, -1004}, {16008, -1001}, {16009, -1005}, {16010, -1005}, {16011, -1005}, {16012, -1005},
    {16015, -1000}, {16016, -1007}, {16017, -1008}, {16018, -1012}, {16019, -1013}, {16020, -1011},
    {16021, -1014}, {16022, -1015}, {16024, -1017}, {16027, -1018}, {17001, -1101}, {17002, -1102},
    {17003, -1103}, {17004, -1104}, {17005, -1105}, {17006, -1106}, {17007, -1202}, {17008, -1107},
    {17009, -1108}, {17010, -1203}, {17011, -1109}, {17012, -1110}, {17013, -1111}, {17014, -1204},
    {17015, -1205}, {17017, -1206}, {17018, -1113}, {17019, -1112}, {18001, -1301}, {18002, -1302},
    {18003, -1303}, {18004, -1304}, {18005, -1305},
};

}  // namespace

int wireCodeToNative(int wireCode) {
    if (wireCode < 1) {
        return wireCode;
    }
    constexpr int familyKeptAsItIs = 15;
    if (wireCode / 1000 == familyKeptAsItIs) {
        return convertInternalErrorCode(wireCode);
    }
    for (const CodePair& pair : kNativeCodes) {
        if (pair.wire == wireCode) {
            return pair.native;
        }
    }
    return native::kUnknown;
}

int convertInternalErrorCode(int code) { return code; }

int convertInternalErrorCode(
    std::string code) {  // NOLINT(performance-unnecessary-value-param): the interface
    int number = 0;
    strToX(code, number);
    return convertInternalErrorCode(number);
}

}  // namespace vloxlib
