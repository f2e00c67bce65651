// Fields and Properties of a recordset, and their elements, for automation clients.

#include <array>

#include "component/enumerator.h"
#include "component/recordset_object.h"
#include "dataaccess/data_error.h"

namespace qm::component {

namespace {

// The provider's dynamic properties that a recordset has.
constexpr std::array<std::string_view, 2> kProperties = {"Preserve on Commit", "Preserve on Abort"};

class FieldObject final : public AutomationObject<FieldObject, _Field, &CLSID_Field> {
 public:
  FieldObject(std::shared_ptr<Recordset> recordset, int ordinal)
      : recordset_(std::move(recordset)), ordinal_(ordinal) {}

  STDMETHODIMP get_Value(VARIANT* result) override {
    return Get(result, [&] { return recordset_->Value(ordinal_); });
  }
  STDMETHODIMP put_Value(VARIANT newval) override {
    return Do([&] { recordset_->SetValue(ordinal_, component::Value(newval)); });
  }
  STDMETHODIMP get_Name(BSTR* result) override {
    return Get(result, [&] { return recordset_->FieldName(ordinal_); });
  }

 private:
  std::shared_ptr<Recordset> recordset_;
  int ordinal_;
};

class FieldsObject final : public AutomationObject<FieldsObject, _Fields, &CLSID_Fields> {
 public:
  explicit FieldsObject(std::shared_ptr<Recordset> recordset) : recordset_(std::move(recordset)) {}

  // By name, or by position counted from 0.
  STDMETHODIMP get_Item(VARIANT Index, _Field** result) override {
    return Get(result, [&] {
      const Variant index = Value(Index);
      int ordinal = 0;
      if (const auto* name = index.GetIf<std::string>()) {
        ordinal = recordset_->FieldOrdinal(*name);
        if (ordinal < 0) RaiseData(kErrNoSuchItem, *name);
      } else {
        ordinal = ToInt32(index);
        recordset_->FieldName(ordinal);  // refuses what is outside
      }
      return MakeObject<FieldObject>(recordset_, ordinal);
    });
  }
  STDMETHODIMP get_Count(LONG* result) override {
    return Get(result, [&] { return std::int32_t{recordset_->FieldCount()}; });
  }
  STDMETHODIMP get_NewEnum(IUnknown** result) override {
    return Get(result, [&] {
      std::vector<PlatformVariant> fields;
      fields.reserve(static_cast<std::size_t>(recordset_->FieldCount()));
      for (int i = 0; i < recordset_->FieldCount(); ++i) {
        fields.push_back(Holding(MakeObject<FieldObject>(recordset_, i)));
      }
      return MakeEnumerator(std::move(fields));
    });
  }

 private:
  std::shared_ptr<Recordset> recordset_;
};

class PropertyObject final : public AutomationObject<PropertyObject, _Property, &CLSID_Property> {
 public:
  PropertyObject(std::shared_ptr<Recordset> recordset, std::string name)
      : recordset_(std::move(recordset)), name_(std::move(name)) {}

  STDMETHODIMP get_Value(VARIANT* result) override {
    return Get(result, [&] { return recordset_->Property(name_); });
  }
  STDMETHODIMP put_Value(VARIANT newval) override {
    return Do([&] { recordset_->SetProperty(name_, component::Value(newval)); });
  }
  STDMETHODIMP get_Name(BSTR* result) override {
    return Get(result, [&] { return name_; });
  }

 private:
  std::shared_ptr<Recordset> recordset_;
  std::string name_;
};

class PropertiesObject final
    : public AutomationObject<PropertiesObject, _Properties, &CLSID_Properties> {
 public:
  explicit PropertiesObject(std::shared_ptr<Recordset> recordset)
      : recordset_(std::move(recordset)) {}

  STDMETHODIMP get_Item(VARIANT Index, _Property** result) override {
    return Get(result, [&] {
      const Variant index = Value(Index);
      std::string name;
      if (const auto* given = index.GetIf<std::string>()) {
        name = *given;
      } else {
        const std::int32_t position = ToInt32(index);
        if (position < 0 || position >= static_cast<std::int32_t>(kProperties.size())) {
          RaiseData(kErrNoSuchItem);
        }
        name = kProperties[static_cast<std::size_t>(position)];
      }
      static_cast<void>(recordset_->Property(name));  // refuses an unknown one
      return MakeObject<PropertyObject>(recordset_, std::move(name));
    });
  }
  STDMETHODIMP get_Count(LONG* result) override {
    return Get(result, [&] { return static_cast<std::int32_t>(kProperties.size()); });
  }
  STDMETHODIMP get_NewEnum(IUnknown** result) override {
    return Get(result, [&] {
      std::vector<PlatformVariant> properties;
      properties.reserve(kProperties.size());
      for (const std::string_view name : kProperties) {
        properties.push_back(Holding(MakeObject<PropertyObject>(recordset_, std::string(name))));
      }
      return MakeEnumerator(std::move(properties));
    });
  }

 private:
  std::shared_ptr<Recordset> recordset_;
};

}  // namespace

_Fields* MakeFields(std::shared_ptr<Recordset> recordset) {
  return MakeObject<FieldsObject>(std::move(recordset));
}

_Properties* MakeProperties(std::shared_ptr<Recordset> recordset) {
  return MakeObject<PropertiesObject>(std::move(recordset));
}

}  // namespace qm::component
