// Fields and Properties of a recordset, and their elements, for automation clients.

#include <array>

#include "component/enumerator.h"
#include "component/recordset_object.h"
#include "dataaccess/data_error.h"
#include "runtime/text.h"

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

  STDMETHODIMP get_Item(VARIANT Index, _Field** result) override {
    return Get(result, [&] { return Element(OrdinalOf(*recordset_, Value(Index))); });
  }
  STDMETHODIMP get_Count(LONG* result) override {
    return Get(result, [&] { return std::int32_t{recordset_->FieldCount()}; });
  }
  STDMETHODIMP get_NewEnum(IUnknown** result) override {
    return Get(result, [&] {
      std::vector<PlatformVariant> fields;
      fields.reserve(static_cast<std::size_t>(recordset_->FieldCount()));
      for (int i = 0; i < recordset_->FieldCount(); ++i) {
        fields.push_back(PlatformVariant::Object(Element(i).get()));
      }
      return MakeEnumerator(std::move(fields));
    });
  }
  STDMETHODIMP Refresh() override { return S_OK; }

 private:
  // One object a position.
  ComPointer<_Field> Element(int ordinal) {
    const auto position = static_cast<std::size_t>(ordinal);
    if (position >= fields_.size()) fields_.resize(position + 1);
    auto& field = fields_[position];
    if (!field) field = ComPointer<_Field>::Taking(MakeObject<FieldObject>(recordset_, ordinal));
    return field;
  }

  std::shared_ptr<Recordset> recordset_;
  std::vector<ComPointer<_Field>> fields_;
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
    return Get(result, [&] { return Element(PositionOf(Value(Index))); });
  }
  STDMETHODIMP get_Count(LONG* result) override {
    return Get(result, [&] { return static_cast<std::int32_t>(kProperties.size()); });
  }
  STDMETHODIMP get_NewEnum(IUnknown** result) override {
    return Get(result, [&] {
      std::vector<PlatformVariant> properties;
      properties.reserve(kProperties.size());
      for (std::size_t i = 0; i < kProperties.size(); ++i) {
        properties.push_back(PlatformVariant::Object(Element(i).get()));
      }
      return MakeEnumerator(std::move(properties));
    });
  }
  STDMETHODIMP Refresh() override { return S_OK; }

 private:
  static std::size_t PositionOf(const Variant& index) {
    if (const auto* name = index.GetIf<std::string>()) {
      for (std::size_t i = 0; i < kProperties.size(); ++i) {
        if (EqualsIgnoreCase(kProperties[i], *name)) return i;
      }
      RaiseData(kErrNoSuchItem, *name);
    }
    const std::int32_t position = ToInt32(index);
    if (position < 0 || position >= static_cast<std::int32_t>(kProperties.size())) {
      RaiseData(kErrNoSuchItem);
    }
    return static_cast<std::size_t>(position);
  }

  ComPointer<_Property> Element(std::size_t position) {
    auto& property = properties_[position];
    if (!property) {
      property = ComPointer<_Property>::Taking(
          MakeObject<PropertyObject>(recordset_, std::string(kProperties[position])));
    }
    return property;
  }

  std::shared_ptr<Recordset> recordset_;
  std::array<ComPointer<_Property>, kProperties.size()> properties_;
};

}  // namespace

int OrdinalOf(const Recordset& recordset, const Variant& index) {
  if (const auto* name = index.GetIf<std::string>()) {
    const int ordinal = recordset.FieldOrdinal(*name);
    if (ordinal < 0) RaiseData(kErrNoSuchItem, *name);
    return ordinal;
  }
  const int ordinal = ToInt32(index);
  recordset.FieldName(ordinal);  // refuses what is outside
  return ordinal;
}

ComPointer<_Fields> MakeFields(std::shared_ptr<Recordset> recordset) {
  return ComPointer<_Fields>::Taking(MakeObject<FieldsObject>(std::move(recordset)));
}

ComPointer<_Properties> MakeProperties(std::shared_ptr<Recordset> recordset) {
  return ComPointer<_Properties>::Taking(MakeObject<PropertiesObject>(std::move(recordset)));
}

}  // namespace qm::component
