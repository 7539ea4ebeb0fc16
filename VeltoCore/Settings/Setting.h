// Setting: one value of the user's, declared once: the key that it is stored under, its default and its
// stored form.
//
// A member of PreferencesManager; main actor only. Each assignment goes to the user's defaults at once;
// observers hear of real changes only. What is stored unreadable reads as the default, without a word.
#pragma once

#include "VeltoCore/Observation/Observable.h"
#include "VeltoCore/Services/UserDefaults.h"
#include "VeltoCore/Settings/StoredForm.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velto {

class AnySetting;

/// Where settings are stored, which there are, and who hears of all of them.
struct SettingStore {
    UserDefaults& defaults;
    ObserverList observers = {};
    /// In the order of their declaration.
    std::vector<AnySetting*> settings = {};

    void notify(const ObserverList& ofOne) const {
        ofOne.notify();
        observers.notify();
    }
};

/// A setting as those know it who treat all alike: by its key and its stored form.
class AnySetting {
  public:
    virtual ~AnySetting() = default;
    AnySetting(const AnySetting&) = delete;
    AnySetting& operator=(const AnySetting&) = delete;

    std::string_view key() const noexcept { return key_; }
    /// The value as it is stored; none where its stored form is to be absent.
    virtual std::optional<DefaultsValue> stored() const = 0;
    /// Answers whether it is a value of this setting; nothing changes where it is none.
    virtual bool setStored(const DefaultsValue& value) = 0;
    Subscription observe(std::function<void()> handler) { return observers_.observe(std::move(handler)); }

  protected:
    AnySetting(SettingStore& store, std::string_view key) : store_(store), key_(key) {
        store.settings.push_back(this);
    }
    SettingStore& store_;
    ObserverList observers_;

  private:
    std::string_view key_;
};

template <class T, class Form = StoredForm<T>>
class Setting final : public AnySetting {
  public:
    /// Reads what is stored. The store must outlive the setting, the key is not copied.
    Setting(SettingStore& store, std::string_view key, T byDefault)
        : AnySetting(store, key), value_(std::move(byDefault)) {
        if (auto registered = stored()) store.defaults.registerDefaults({{std::string(key), *registered}});
        value_ = store.defaults.value(key).and_then(Form::decode).value_or(value_);
    }

    const T& operator()() const noexcept { return value_; }
    void set(T value) {
        const bool isChanged = value_ != value;
        value_ = std::move(value);
        if (auto written = stored()) {
            store_.defaults.set(key(), std::move(*written));
        } else {
            store_.defaults.remove(key());
        }
        if (isChanged) store_.notify(observers_);
    }
    std::optional<DefaultsValue> stored() const override { return Form::encode(value_); }
    bool setStored(const DefaultsValue& value) override {
        auto decoded = Form::decode(value);
        if (decoded) set(std::move(*decoded));
        return decoded.has_value();
    }

  private:
    T value_;
};

} // namespace velto
