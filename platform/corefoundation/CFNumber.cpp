#include "corefoundation/Object.h"

#include <toolbox/CFNumber.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>

namespace toolbox::corefoundation {

namespace {

constexpr TypeInfo kBooleanType = {kBooleanTypeID, nullptr, "CFBoolean"};

// So many that no program gives them all back.
constexpr SInt64 kEndlessCount = std::numeric_limits<SInt64>::max() / 2;

struct BooleanObject {
    Object base;
    bool value;
};
BooleanObject sTrue = {{&kBooleanType, kEndlessCount}, true};
BooleanObject sFalse = {{&kBooleanType, kEndlessCount}, false};

struct NumberObject {
    Object base;
    bool isFloat;
    union {
        SInt64 integer;
        double real;
    };
};

const NumberObject& ObjectOf(CFNumberRef inNumber) {
    return *reinterpret_cast<const NumberObject*>(inNumber);
}

template <class Value>
Value Load(const void* inValue) {
    Value value;
    std::memcpy(&value, inValue, sizeof(value));
    return value;
}

bool ReadNumber(CFNumberType inType, const void* inValue, NumberObject& outNumber) {
    outNumber.isFloat = inType == kCFNumberFloat32Type || inType == kCFNumberFloat64Type;
    switch (inType) {
        case kCFNumberSInt8Type:
            outNumber.integer = Load<SInt8>(inValue);
            return true;
        case kCFNumberSInt16Type:
            outNumber.integer = Load<SInt16>(inValue);
            return true;
        case kCFNumberSInt32Type:
            outNumber.integer = Load<SInt32>(inValue);
            return true;
        case kCFNumberSInt64Type:
            outNumber.integer = Load<SInt64>(inValue);
            return true;
        case kCFNumberFloat32Type:
            outNumber.real = Load<float>(inValue);
            return true;
        case kCFNumberFloat64Type:
            outNumber.real = Load<double>(inValue);
            return true;
        default:
            return false;
    }
}

// The nearest value that an SInt64 can have; fractions are cut off.
SInt64 IntegerOf(double inReal) {
    constexpr double kEnd = 0x1p63;
    if (std::isnan(inReal)) return 0;
    if (inReal >= kEnd) return std::numeric_limits<SInt64>::max();
    if (inReal < -kEnd) return std::numeric_limits<SInt64>::min();
    return static_cast<SInt64>(inReal);
}

bool IsExactly(SInt64 inInteger, double inReal) {
    return inReal < 0x1p63 && inReal >= -0x1p63 && static_cast<SInt64>(inReal) == inInteger &&
           std::trunc(inReal) == inReal;
}

bool IsSameNumber(CFTypeRef inNumber1, CFTypeRef inNumber2) {
    const NumberObject& first = ObjectOf(static_cast<CFNumberRef>(inNumber1));
    const NumberObject& second = ObjectOf(static_cast<CFNumberRef>(inNumber2));
    if (first.isFloat)
        return second.isFloat ? first.real == second.real : IsExactly(second.integer, first.real);
    return second.isFloat ? IsExactly(first.integer, second.real) : first.integer == second.integer;
}

CFHashCode HashOfNumber(CFTypeRef inNumber) {
    const NumberObject& number = ObjectOf(static_cast<CFNumberRef>(inNumber));
    return std::hash<SInt64>()(number.isFloat ? IntegerOf(number.real) : number.integer);
}
constexpr TypeInfo kNumberType = {kNumberTypeID, nullptr, "CFNumber", IsSameNumber, HashOfNumber};

template <class Integer>
bool StoreInteger(const NumberObject& inNumber, void* outValue) {
    using Limits = std::numeric_limits<Integer>;
    const SInt64 whole = inNumber.isFloat ? IntegerOf(inNumber.real) : inNumber.integer;
    const SInt64 inside = whole < Limits::min()   ? SInt64{Limits::min()}
                          : whole > Limits::max() ? SInt64{Limits::max()}
                                                  : whole;
    const auto value = static_cast<Integer>(inside);
    std::memcpy(outValue, &value, sizeof(value));
    return inside == whole && (!inNumber.isFloat || IsExactly(whole, inNumber.real));
}

template <class Real>
bool StoreReal(const NumberObject& inNumber, void* outValue) {
    const Real value =
        inNumber.isFloat ? static_cast<Real>(inNumber.real) : static_cast<Real>(inNumber.integer);
    std::memcpy(outValue, &value, sizeof(value));
    if (!inNumber.isFloat) return IsExactly(inNumber.integer, static_cast<double>(value));
    return std::isnan(inNumber.real) || static_cast<double>(value) == inNumber.real;
}

}  // namespace

}  // namespace toolbox::corefoundation

using namespace toolbox::corefoundation;

const CFBooleanRef kCFBooleanTrue = reinterpret_cast<CFBooleanRef>(&sTrue);
const CFBooleanRef kCFBooleanFalse = reinterpret_cast<CFBooleanRef>(&sFalse);

CFTypeID CFBooleanGetTypeID() {
    return kBooleanTypeID;
}

Boolean CFBooleanGetValue(CFBooleanRef inBoolean) {
    return reinterpret_cast<const BooleanObject*>(inBoolean)->value;
}

CFTypeID CFNumberGetTypeID() {
    return kNumberTypeID;
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType inType, const void* inValue) {
    if (inValue == nullptr || inType < kCFNumberSInt8Type || inType > kCFNumberFloat64Type) return nullptr;
    auto* number = static_cast<NumberObject*>(NewObject(kNumberType, sizeof(NumberObject)));
    if (number != nullptr) ReadNumber(inType, inValue, *number);
    return reinterpret_cast<CFNumberRef>(number);
}

CFNumberType CFNumberGetType(CFNumberRef inNumber) {
    return ObjectOf(inNumber).isFloat ? kCFNumberFloat64Type : kCFNumberSInt64Type;
}

Boolean CFNumberIsFloatType(CFNumberRef inNumber) {
    return ObjectOf(inNumber).isFloat;
}

Boolean CFNumberGetValue(CFNumberRef inNumber, CFNumberType inType, void* outValue) {
    const NumberObject& number = ObjectOf(inNumber);
    switch (inType) {
        case kCFNumberSInt8Type:
            return StoreInteger<SInt8>(number, outValue);
        case kCFNumberSInt16Type:
            return StoreInteger<SInt16>(number, outValue);
        case kCFNumberSInt32Type:
            return StoreInteger<SInt32>(number, outValue);
        case kCFNumberSInt64Type:
            return StoreInteger<SInt64>(number, outValue);
        case kCFNumberFloat32Type:
            return StoreReal<float>(number, outValue);
        case kCFNumberFloat64Type:
            return StoreReal<double>(number, outValue);
        default:
            return false;
    }
}
