#pragma once

#include <mio/meta_object.h>
#include <tyk/bad_cast.h>
#include <tyk/variant.h>

#include <cstddef>
#include <string>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace mio {
namespace details {

/// The object cast to the described class; throws tyk::BadCast when it is of another.
template <class Described, class AnyObject>
auto& objectAs(AnyObject& object, const std::string& typeName) {
  using Wanted = std::conditional_t<std::is_const_v<AnyObject>, const Described, Described>;
  if (auto* const described = dynamic_cast<Wanted*>(&object)) return *described;
  const MetaObject* const meta = object.metaObject();
  throw tyk::BadCast(meta == nullptr ? std::string("object ") + typeid(object).name() : meta->typeName(),
                     typeName, std::nullopt);
}

/// Hands out the arguments of a call one by one; the setter flags are taken from beside them.
class ArgumentReader {
 public:
  ArgumentReader(Method::Arguments arguments, SetterFlags flags) : arguments_(arguments), flags_(flags) {}

  template <class Parameter>
  Parameter next() {
    if constexpr (std::is_same_v<Parameter, SetterFlags>) {
      return flags_;
    } else {
      return arguments_[at_++].template castTo<Parameter>();
    }
  }

 private:
  Method::Arguments arguments_;
  SetterFlags flags_;
  std::size_t at_ = 0;
};

}  // namespace details

/// Describes a class step by step; the order of the calls is that of the lists.
template <class Described>
class MetaObjectBuilder {
 public:
  explicit MetaObjectBuilder(std::string typeName) : meta_(std::move(typeName), typeid(Described)) {}

  /// Annotates the class.
  template <class Given>
  MetaObjectBuilder&& annotation(Given annotation) && {
    meta_.annotations_.add(std::move(annotation));
    return std::move(*this);
  }

  /// A method that calls `function(object, arguments...)`. A parameter of type SetterFlags receives the flags
  /// of the call and is no explicit argument; the others are cast from variants.
  template <class Result, class Receiver, class... Parameters>
  MetaObjectBuilder&& method(std::string name, Result (*function)(Receiver&, Parameters...)) && {
    constexpr unsigned kCount = (0U + ... + (std::is_same_v<Parameters, SetterFlags> ? 0U : 1U));
    const auto call = [function, typeName = meta_.typeName()](Object& object, Method::Arguments arguments,
                                                              SetterFlags flags) {
      auto& receiver = details::objectAs<Described>(object, typeName);
      details::ArgumentReader reader(arguments, flags);
      // The braces make the order of evaluation that of the parameters.
      std::tuple<std::decay_t<Parameters>...> values{reader.template next<std::decay_t<Parameters>>()...};
      const auto run = [&](auto&... each) { return function(receiver, each...); };
      if constexpr (std::is_void_v<Result>) {
        std::apply(run, values);
        return tyk::Variant();
      } else {
        return tyk::Variant(std::apply(run, values));
      }
    };
    meta_.methods_.emplace_back(std::move(name), kCount, call);
    return std::move(*this);
  }

  /// A property that a field holds, with its annotations.
  template <class Field, class... Given>
  MetaObjectBuilder&& property(std::string displayName, Field Described::*field, Given... annotations) && {
    const auto read = [field, typeName = meta_.typeName()](const Object& object) {
      return tyk::Variant(details::objectAs<Described>(object, typeName).*field);
    };
    const auto write = [field, typeName = meta_.typeName()](Object& object, const tyk::Variant& value) {
      details::objectAs<Described>(object, typeName).*field = value.castTo<Field>();
    };
    meta_.properties_.emplace_back(std::move(displayName), tyk::Variant::typeOf<Field>(), read, write,
                                   Annotations(std::move(annotations)...));
    return std::move(*this);
  }

  MetaObject build() && { return std::move(meta_); }
  /// For passing the result to a Registration.
  operator MetaObject() && { return std::move(meta_); }

 private:
  MetaObject meta_;
};

/// Begins the description of a class; `typeName` is the name to find it by.
template <class Described>
MetaObjectBuilder<Described> describe(std::string typeName) {
  static_assert(std::is_base_of_v<Object, Described>);
  return MetaObjectBuilder<Described>(std::move(typeName));
}

}  // namespace mio
