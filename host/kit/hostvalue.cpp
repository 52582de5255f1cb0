#include "host/kit/hostvalue.h"

#include "host/kit/hosttext.h"
#include "host/kit/midicontrollers.h"
#include "module/effectinterfaces.h"

#include <cmath>
#include <cstdio>

namespace hostkit
{
namespace
{
int32_t clampInt(int64_t value, int32_t low, int32_t high)
{
    if (value < low) return low;
    if (value > high) return high;
    return static_cast<int32_t>(value);
}

int32_t roundToInt(float value)
{
    if (std::isnan(value)) return 0;
    const double rounded = std::nearbyint(static_cast<double>(value));
    if (rounded <= static_cast<double>(INT32_MIN)) return INT32_MIN;
    if (rounded >= static_cast<double>(INT32_MAX)) return INT32_MAX;
    return static_cast<int32_t>(rounded);
}
} // namespace

HostValue* HostValue::create(const TUID kindId)
{
    if (IHostIntValue::iid.equals(kindId)) return new HostValue(Kind::Int);
    if (IHostBoolValue::iid.equals(kindId)) return new HostValue(Kind::Bool);
    if (IHostListValue::iid.equals(kindId)) return new HostValue(Kind::List);
    if (IHostControllerValue::iid.equals(kindId)) return new HostValue(Kind::Controller);
    if (IHostFloatValue::iid.equals(kindId)) return new HostValue(Kind::Float);
    if (IHostStringValue::iid.equals(kindId)) return new HostValue(Kind::String);
    return nullptr;
}

HostValue::HostValue(Kind kind) : kindOfValue(kind)
{
    switch (kind)
    {
    case Kind::Bool:
        lowInt = 0;
        highInt = 1;
        break;
    case Kind::Controller:
        lowInt = 0;
        highInt = kMidiControllerCount - 1;
        for (int32_t number = 0; number < kMidiControllerCount; ++number)
            strings.push_back(midiControllerName(number));
        break;
    default:
        break;
    }
}

tresult HostValue::queryInterface(const TUID iid, void** obj)
{
    if (!obj) return kInvalidArgument;
    void* face = nullptr;
    const bool ownKind = (kindOfValue == Kind::Int && IHostIntValue::iid.equals(iid)) ||
                         (kindOfValue == Kind::Bool && IHostBoolValue::iid.equals(iid)) ||
                         (kindOfValue == Kind::List && IHostListValue::iid.equals(iid)) ||
                         (kindOfValue == Kind::Controller && IHostControllerValue::iid.equals(iid)) ||
                         (kindOfValue == Kind::Float && IHostFloatValue::iid.equals(iid)) ||
                         (kindOfValue == Kind::String && IHostStringValue::iid.equals(iid));
    if (ownKind || FUnknown::iid.equals(iid))
        face = static_cast<IHostValue*>(this);
    else if (IHostValueAutomation::iid.equals(iid) && kindOfValue != Kind::String)
        face = static_cast<IHostValueAutomation*>(this);
    else if (IHostValueStringList::iid.equals(iid) && kindOfValue == Kind::List)
        face = static_cast<IHostValueStringList*>(this);
    else if (IHostValueUnit::iid.equals(iid) && kindOfValue == Kind::Float)
        face = static_cast<IHostValueUnit*>(this);
    *obj = face;
    if (!face) return kNoInterface;
    addRef();
    return kResultOk;
}

int32_t HostValue::maxIntLocked() const
{
    switch (kindOfValue)
    {
    case Kind::List:
        return strings.empty() ? 0 : static_cast<int32_t>(strings.size()) - 1;
    case Kind::Float:
        return roundToInt(highFloat);
    case Kind::String:
        return 0;
    default:
        return highInt;
    }
}

int32_t HostValue::intLocked() const
{
    switch (kindOfValue)
    {
    case Kind::Float:
        return roundToInt(floatValue);
    case Kind::String:
        return 0;
    default:
        return intValue;
    }
}

bool HostValue::storeInt(int32_t value)
{
    std::lock_guard<SpinLock> guard(mutex);
    int32_t stored = value;
    switch (kindOfValue)
    {
    case Kind::Bool:
        stored = value != 0 ? 1 : 0;
        break;
    case Kind::List:
        // The plain index as given: an effect may show "none of the entries" with the index past
        // the last one, and clamping it would hand back an entry the effect never chose.
        break;
    case Kind::Float:
    {
        const float clamped = std::fmin(std::fmax(static_cast<float>(value), lowFloat), highFloat);
        const bool changed = clamped != floatValue;
        floatValue = clamped;
        return changed;
    }
    case Kind::String:
        return false;
    default:
        stored = clampInt(value, lowInt, highInt);
        break;
    }
    const bool changed = stored != intValue;
    intValue = stored;
    return changed;
}

bool HostValue::storeFloat(float value)
{
    if (kindOfValue != Kind::Float) return storeInt(roundToInt(value));
    std::lock_guard<SpinLock> guard(mutex);
    if (std::isnan(value)) return false;
    const float clamped = std::fmin(std::fmax(value, lowFloat), highFloat);
    const bool changed = clamped != floatValue;
    floatValue = clamped;
    return changed;
}

void HostValue::notify()
{
    IPlugController* target;
    int32_t boundTag;
    {
        std::lock_guard<SpinLock> guard(mutex);
        target = boundListener;
        boundTag = tag;
    }
    // Called without the lock: the listener reads this value back and may set others.
    if (target) target->valueChanged(this, boundTag);
}

std::u16string HostValue::displayTextLocked() const
{
    switch (kindOfValue)
    {
    case Kind::Bool:
        return intValue ? u"On" : u"Off";
    case Kind::List:
    case Kind::Controller:
        return intValue >= 0 && intValue < static_cast<int32_t>(strings.size()) ? strings[intValue]
                                                                                : std::u16string();
    case Kind::Float:
    {
        char buffer[64];
        std::snprintf(buffer, sizeof buffer, "%.*f", digits, static_cast<double>(floatValue));
        return utf8ToUtf16(buffer);
    }
    case Kind::String:
        return text;
    default:
        return utf8ToUtf16(std::to_string(intValue));
    }
}

tresult HostValue::getDisplayText(char16_t* out)
{
    if (!out) return kInvalidArgument;
    copyToBuffer(displayText(), out, kDisplayTextSize);
    return kResultOk;
}

int32_t HostValue::getInt()
{
    std::lock_guard<SpinLock> guard(mutex);
    return intLocked();
}

tresult HostValue::setInt(int32_t value)
{
    if (kindOfValue == Kind::String) return kResultFalse;
    if (storeInt(value)) notify();
    return kResultOk;
}

int32_t HostValue::getMaxInt()
{
    std::lock_guard<SpinLock> guard(mutex);
    return maxIntLocked();
}

tresult HostValue::bindController(IPlugController* newListener, int32_t newTag)
{
    std::lock_guard<SpinLock> guard(mutex);
    boundListener = newListener;
    tag = newTag;
    return kResultOk;
}

int32_t HostValue::getKind()
{
    switch (kindOfValue)
    {
    case Kind::Int:
    case Kind::Bool:
        return kKindInt;
    case Kind::List:
    case Kind::Controller:
        return kKindList;
    case Kind::Float:
        return kKindFloat;
    case Kind::String:
        return kKindString;
    }
    return kKindNone;
}

int32_t HostValue::getTag()
{
    std::lock_guard<SpinLock> guard(mutex);
    return tag;
}

tresult HostValue::getString(char16_t* out, int32_t* length)
{
    if (!length) return kInvalidArgument;
    const std::u16string value = displayText();
    if (!out)
    {
        *length = static_cast<int32_t>(value.size());
        return kResultOk;
    }
    if (*length <= 0) return kInvalidArgument;
    copyToBuffer(value, out, *length);
    *length = static_cast<int32_t>(std::min(value.size(), static_cast<size_t>(*length - 1)));
    return kResultOk;
}

tresult HostValue::assignString(const char16_t* newText, int32_t flag)
{
    if (!newText) return kInvalidArgument;
    const std::u16string wanted(newText);
    bool changed = false;
    switch (kindOfValue)
    {
    case Kind::String:
    {
        std::lock_guard<SpinLock> guard(mutex);
        changed = text != wanted;
        text = wanted;
        break;
    }
    case Kind::List:
    case Kind::Controller:
    {
        int32_t index = -1;
        {
            std::lock_guard<SpinLock> guard(mutex);
            for (size_t i = 0; i < strings.size(); ++i)
                if (strings[i] == wanted)
                {
                    index = static_cast<int32_t>(i);
                    break;
                }
        }
        if (index < 0 && kindOfValue == Kind::Controller)
        {
            // A controller may also be named by its number.
            const auto number = parseInteger(utf16ToUtf8(wanted));
            if (number && *number >= 0 && *number < kMidiControllerCount)
                index = static_cast<int32_t>(*number);
        }
        if (index < 0) return kResultFalse;
        changed = storeInt(index);
        break;
    }
    case Kind::Float:
    {
        const auto number = parseDouble(utf16ToUtf8(wanted));
        if (!number) return kResultFalse;
        changed = storeFloat(static_cast<float>(*number));
        break;
    }
    default:
    {
        const std::string narrow = utf16ToUtf8(wanted);
        const auto number = parseInteger(narrow);
        if (!number)
        {
            if (kindOfValue == Kind::Bool && (narrow == "On" || narrow == "Off"))
            {
                changed = storeInt(narrow == "On");
                break;
            }
            return kResultFalse;
        }
        changed = storeInt(clampInt(*number, INT32_MIN, INT32_MAX));
        break;
    }
    }
    if (changed && flag) notify();
    return kResultOk;
}

tresult HostValue::assignInt(int32_t value, int32_t flag)
{
    if (kindOfValue == Kind::String) return kResultFalse;
    if (storeInt(value) && flag) notify();
    return kResultOk;
}

tresult HostValue::setMinInt(int32_t value)
{
    if (kindOfValue != Kind::Int) return kResultFalse;
    std::lock_guard<SpinLock> guard(mutex);
    lowInt = value;
    if (highInt < lowInt) highInt = lowInt;
    intValue = clampInt(intValue, lowInt, highInt);
    return kResultOk;
}

tresult HostValue::setMaxInt(int32_t value)
{
    if (kindOfValue != Kind::Int) return kResultFalse;
    std::lock_guard<SpinLock> guard(mutex);
    highInt = value;
    if (lowInt > highInt) lowInt = highInt;
    intValue = clampInt(intValue, lowInt, highInt);
    return kResultOk;
}

float HostValue::getFloat()
{
    std::lock_guard<SpinLock> guard(mutex);
    return kindOfValue == Kind::Float ? floatValue : static_cast<float>(intLocked());
}

tresult HostValue::assignFloat(float value, int32_t flag)
{
    if (kindOfValue == Kind::String) return kResultFalse;
    if (storeFloat(value) && flag) notify();
    return kResultOk;
}

tresult HostValue::setMinFloat(float value)
{
    if (kindOfValue != Kind::Float || std::isnan(value)) return kResultFalse;
    std::lock_guard<SpinLock> guard(mutex);
    lowFloat = value;
    if (highFloat < lowFloat) highFloat = lowFloat;
    floatValue = std::fmin(std::fmax(floatValue, lowFloat), highFloat);
    return kResultOk;
}

tresult HostValue::setMaxFloat(float value)
{
    if (kindOfValue != Kind::Float || std::isnan(value)) return kResultFalse;
    std::lock_guard<SpinLock> guard(mutex);
    highFloat = value;
    if (lowFloat > highFloat) lowFloat = highFloat;
    floatValue = std::fmin(std::fmax(floatValue, lowFloat), highFloat);
    return kResultOk;
}

tresult HostValue::setDefault(float value)
{
    std::lock_guard<SpinLock> guard(mutex);
    defaultFloat = value;
    return kResultOk;
}

tresult HostValue::setFlag(int32_t flag, uint8_t on)
{
    std::lock_guard<SpinLock> guard(mutex);
    if (on)
        flags |= flag;
    else
        flags &= ~flag;
    return kResultOk;
}

tresult HostValue::setStrings(const char16_t* const* list)
{
    if (!list) return kInvalidArgument;
    std::lock_guard<SpinLock> guard(mutex);
    // The host keeps its own copies: entries are replaced later through setStringAt, and
    // the module's texts are never written to.
    strings.clear();
    for (const char16_t* const* entry = list; *entry; ++entry)
        strings.emplace_back(*entry);
    intValue = clampInt(intValue, 0, maxIntLocked());
    return kResultOk;
}

tresult HostValue::setStringAt(int32_t index, const char16_t* entry)
{
    if (!entry) return kInvalidArgument;
    std::lock_guard<SpinLock> guard(mutex);
    if (index < 0 || index >= static_cast<int32_t>(strings.size())) return kInvalidArgument;
    strings[static_cast<size_t>(index)] = entry;
    return kResultOk;
}

tresult HostValue::setPrecision(int32_t newDigits)
{
    if (newDigits < 0) return kInvalidArgument;
    std::lock_guard<SpinLock> guard(mutex);
    digits = newDigits > 9 ? 9 : newDigits;
    return kResultOk;
}

int32_t HostValue::minInt()
{
    std::lock_guard<SpinLock> guard(mutex);
    return kindOfValue == Kind::Int || kindOfValue == Kind::Bool || kindOfValue == Kind::Controller ? lowInt
                                                                                                    : 0;
}

std::u16string HostValue::displayText()
{
    std::lock_guard<SpinLock> guard(mutex);
    return displayTextLocked();
}

std::vector<std::u16string> HostValue::entries()
{
    std::lock_guard<SpinLock> guard(mutex);
    return strings;
}

float HostValue::defaultValue()
{
    std::lock_guard<SpinLock> guard(mutex);
    return defaultFloat;
}

int32_t HostValue::automationFlags()
{
    std::lock_guard<SpinLock> guard(mutex);
    return flags;
}

int32_t HostValue::precision()
{
    std::lock_guard<SpinLock> guard(mutex);
    return digits;
}

IPlugController* HostValue::listener()
{
    std::lock_guard<SpinLock> guard(mutex);
    return boundListener;
}

void HostValue::unbind()
{
    std::lock_guard<SpinLock> guard(mutex);
    boundListener = nullptr;
}
} // namespace hostkit
