#pragma once

// The host's value objects: one per parameter of a module, with real bounds, a display text and a
// listener. The six kinds share one class; each answers the faces that belong to its kind.
//
// A change notifies the bound listener with valueChanged(value, tag) only when the stored value
// really changed: always for setInt (that is how a module and the host's controls talk), for
// assignInt, assignFloat and assignString only when their flag is nonzero (a module configures
// its values with the flag 0 before anything is bound).

#include "foundation/frefcounted.h"
#include "host/kit/spinlock.h"
#include "module/hostinterfaces.h"

#include <atomic>
#include <cfloat>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace hostkit
{
class HostValue final : public IHostValue,
                        public FRefCounted<HostValue>,
                        public IHostValueAutomation,
                        public IHostValueStringList,
                        public IHostValueUnit
{
public:
    enum class Kind
    {
        Int,
        Bool,
        List,
        Controller,
        Float,
        String
    };

    // A new value with one reference, for the identifier of one of the six kinds; null for any
    // other identifier.
    static HostValue* create(const TUID kindId);
    explicit HostValue(Kind kind);

    tresult queryInterface(const TUID iid, void** obj) override;
    uint32_t addRef() override { return retain(); }
    uint32_t release() override { return drop(); }

    // IHostValue
    tresult getDisplayText(char16_t* text) override;
    int32_t getInt() override;
    tresult setInt(int32_t value) override;
    int32_t getMaxInt() override;
    tresult bindController(IPlugController* listener, int32_t tag) override;
    int32_t getKind() override;
    int32_t getTag() override;
    tresult getString(char16_t* text, int32_t* length) override;
    tresult assignString(const char16_t* text, int32_t flag) override;
    tresult assignInt(int32_t value, int32_t flag) override;
    tresult setMinInt(int32_t value) override;
    tresult setMaxInt(int32_t value) override;
    float getFloat() override;
    tresult assignFloat(float value, int32_t flag) override;
    tresult setMinFloat(float value) override;
    tresult setMaxFloat(float value) override;

    // IHostValueAutomation
    tresult setDefault(float value) override;
    tresult setFlag(int32_t flag, uint8_t on) override;

    // IHostValueStringList (list values)
    tresult setStrings(const char16_t* const* strings) override;
    tresult setStringAt(int32_t index, const char16_t* text) override;

    // IHostValueUnit (float values)
    tresult setPrecision(int32_t digits) override;

    // What the host's panel and its tests look at.
    Kind kind() const { return kindOfValue; }
    int32_t minInt();
    std::u16string displayText();
    std::vector<std::u16string> entries();
    float defaultValue();
    int32_t automationFlags();
    int32_t precision();
    IPlugController* listener();
    // Drops the listener, so that nothing calls a module that is gone.
    void unbind();

private:
    ~HostValue() = default;
    friend class FRefCounted<HostValue>;

    // Stores under the lock; true if the stored value changed.
    bool storeInt(int32_t value);
    bool storeFloat(float value);
    int32_t maxIntLocked() const;
    int32_t intLocked() const;
    std::u16string displayTextLocked() const;
    void notify();

    const Kind kindOfValue;
    // Taken on the event thread too (a note-on selects a pattern through its value): it spins.
    SpinLock mutex;
    int32_t intValue = 0;
    int32_t lowInt = INT32_MIN;
    int32_t highInt = INT32_MAX;
    float floatValue = 0.0f;
    float lowFloat = -FLT_MAX;
    float highFloat = FLT_MAX;
    int32_t digits = 2;
    std::u16string text;
    std::vector<std::u16string> strings;
    IPlugController* boundListener = nullptr;
    int32_t tag = -1;
    float defaultFloat = 0.0f;
    int32_t flags = 0;
};
} // namespace hostkit
