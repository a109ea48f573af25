#pragma once

#include <core/smart_pointer.h>
#include <core/string_ref.h>
#include <ks/connection.h>
#include <ks/signal.h>
#include <mio/object.h>
#include <mio/record_signal.h>
#include <resources/resource_modification_listener.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <string>
#include <vector>

#define DESTRUCTIBLES_API __attribute__((visibility("default")))

namespace Tal {

class DataSection;
class KsMaterialDisabler;
class MatrixProvider;
class SuperModel;

/// The effect name that stands for no effect; the writer treats it as not set.
DESTRUCTIBLES_API inline const std::string UNDEFINED_EFFECT = "none";

/// The category of a model.
enum KsDestructibleType : std::int32_t {
  DT_STRUCTURE = 0,         ///< a building made of modules that break piece by piece
  DT_FRAGILE = 1,           ///< breaks as a whole
  DT_FALLING_ATOMS = 2,     ///< falls as one physical body
  DT_NON_DESTRUCTIBLE = 3,  ///< not destructible
};

/// One module of a structure. Its key, the material name ("matName"), is not part of the record.
///
/// The fields are named as their keys in "scripts/destructibles.xml". Copying a record copies the fields and
/// leaves the connections of both records as they are.
///
/// What a panel offers for an effect or a hard point is computed each time it asks, from two properties of
/// the object that the record was given as its parent (mio::Object::setParent):
///
/// - "Destructible Type", a number or what converts to one: the model's KsDestructibleType. Behind "" and
///   "none" the effects of this category in "scripts/destructibles_effects.xml" are offered; for any number
///   but DT_FRAGILE and DT_FALLING_ATOMS those of structures. Without this property only "" and "none" are.
/// - "_hardPoints", a list of strings: the names of the model's hard points, which are offered behind "".
///   Without this property only "" is.
///
/// A record without a parent, or whose parent is gone, is treated as if its parent lacked both. A value of
/// another type throws tyk::BadCast to whoever asks for the options.
struct DESTRUCTIBLES_API KsDestructibleModuleDesc : mio::Object {
  std::int32_t health = 80;  ///< hit points; -1 when none could be estimated
  float effectScale = 1.0F;  ///< factor on the size of the module's effects
  std::string effectHP;      ///< the hard point at which effects are played; empty: none
  std::string ramEffect = UNDEFINED_EFFECT;
  std::string hitEffect;
  std::string decayEffect = UNDEFINED_EFFECT;

  /// Raised when a property of this record was set through reflection.
  mutable mio::RecordSignal<void(mio::SetterFlags)> changed;
  /// Raised when the effect hard point of this record was set through reflection.
  mutable mio::RecordSignal<void()> hardPointChanged;

  /// How panels show and edit the record; never null.
  const mio::MetaObject* metaObject() const override;
};

/// A fragile object. What applies to the module record applies here too.
struct DESTRUCTIBLES_API KsDestructibleFragileDesc : mio::Object {
  std::int32_t health = 5;     ///< hit points; -1 when none could be estimated
  float effectScale = 1.0F;    ///< factor on the size of the effects
  std::string effectHP;        ///< the hard point at which effects are played; empty: none
  std::string achievementTag;  ///< free text; empty: none
  std::string matName;         ///< the material that shows the intact object
  std::string effect = UNDEFINED_EFFECT;
  std::string hitEffect;
  std::string decayEffect = UNDEFINED_EFFECT;
  std::string lifetimeEffect = UNDEFINED_EFFECT;

  /// Raised when a property of this record was set through reflection.
  mutable mio::RecordSignal<void(mio::SetterFlags)> changed;
  /// Raised when the effect hard point of this record was set through reflection.
  mutable mio::RecordSignal<void()> hardPointChanged;

  /// How panels show and edit the record; never null.
  const mio::MetaObject* metaObject() const override;
};

/// A falling atom. What applies to the module record applies here too, but for each of its effects only names
/// that contain its kind are offered, such as "touchdown" for the touchdown effect.
struct DESTRUCTIBLES_API KsDestructibleFallingAtomDesc : mio::Object {
  std::int32_t health = 20;  ///< hit points; -1 when none could be estimated
  float effectScale = 1.0F;  ///< factor on the size of the effects
  /// Seven numbers of the falling body, separated by spaces; never parsed here.
  std::string physicParams = "200 3.2 0.03 150000 10000 0 0.05";
  std::string achievementTag;  ///< free text; empty: none
  std::string lifetimeEffect = UNDEFINED_EFFECT;
  std::string fractureEffect = UNDEFINED_EFFECT;
  std::string touchdownEffect = UNDEFINED_EFFECT;
  std::string touchdownBreakEffect = UNDEFINED_EFFECT;

  /// Raised when a property of this record was set through reflection.
  mutable mio::RecordSignal<void(mio::SetterFlags)> changed;

  /// How panels show and edit the record; never null.
  const mio::MetaObject* metaObject() const override;
};

/// The destructible settings of one open model, over the database "scripts/destructibles.xml".
///
/// The database is mirrored in tables that all helpers share; edits change the tables at once and the file
/// when saveConfig is called. Everything runs on the editor's main thread. Nothing here throws but
/// allocation, the standard system error of a mutex, and what a callback, a message sink or the host's
/// disabler throws.
class DESTRUCTIBLES_API KsDestructiblesHelper : public ResourceModificationListener {
 public:
  /// The destruction states of one structure.
  struct DESTRUCTIBLES_API DestrStates_t {
    /// State name to the material names that it shows destroyed, in the order of the file; duplicates are
    /// kept.
    std::map<std::string, std::vector<std::string>> states;
  };

  /// @name Lifecycle and binding
  /// @{

  /// Binds a helper to an open model and to the disabler that shows and hides its kinds.
  ///
  /// - The model is read during this call only. The disabler is not owned and must outlive the helper; a null
  /// one is
  ///   reported and shows nothing. Without a model the helper is empty.
  /// - Loads the database if no helper has since the last one was destroyed.
  /// - Classifies the model, makes the entries that its category lacks, applies the state "undamaged" and
  /// listens for
  ///   changes of the file.
  /// - Gives every module of a structure with hard points one of them by its name, also in place of one that
  /// was
  ///   chosen for it.
  KsDestructiblesHelper(SuperModel* superModel = nullptr, const std::string& modelName = std::string(),
                        KsMaterialDisabler* materialDisabler = nullptr);

  /// Stops listening. If the model is marked as missing (see isMissingInDestructiblesXml), its entries of the
  /// present category are removed from the tables; so are those that a failed save left unwritten. The next
  /// helper, or the next access to the states through another one, reads the file again.
  ~KsDestructiblesHelper() override;

  /// Destroys the helper that `helper` holds, if any, and replaces it with a new one. With `keepVisibility`
  /// the kinds that were hidden or shown before are so again.
  ///
  /// - The old helper's disabler is detached from `superModel`, which then shows all materials; one that is
  /// bound to
  ///   another model stays bound.
  /// - A host that passes the same disabler and model to the new helper calls its createMaterialBindings
  /// afterwards,
  ///   which binds the model again and applies the visibilities.
  /// - A host that passes another model attaches the disabler to it (KsMaterialDisabler::attachSuperModel).
  static void reinit(std::unique_ptr<KsDestructiblesHelper>& helper, SuperModel* superModel,
                     const std::string& modelName, KsMaterialDisabler* materialDisabler, bool keepVisibility);

  /// Detaches the disabler from `superModel` and forgets the hard points. False, without effect, when there
  /// is no disabler or it is not bound to that model.
  bool detachSuperModel(SuperModel* superModel);

  /// Removes the model's entries of every category, including its states, and makes new ones of its category,
  /// if any. Raises the type signal for the removal and again for the category that is set again. Modules get
  /// their hard points as in construction. The estimate of the health may load the database first, see
  /// setAsStructure.
  void resetDescriptions();

  /// Makes the disabler find the model's materials again; the model that it was detached from last is bound
  /// again. There must be a disabler.
  void createMaterialBindings();

  KsMaterialDisabler* materialDisabler() const;
  const std::string& modelName() const;

  /// The hard points of the model (skeleton nodes "HP_..."), in skeleton order; valid until the model is
  /// detached or the helper is destroyed.
  const std::vector<std::string>& getHardpointNames();

  /// The collision materials of the model; valid as long as the helper.
  const std::set<std::string>& bspMaterialNames() const;

  /// @}
  /// @name The database file
  /// @{

  /// Rebuilds the tables from the file, if they were not loaded yet or `force` is true, and raises this
  /// helper's loaded signal. False when there was nothing to do or the file could not be opened; in the
  /// latter case the tables are empty. After a load this helper's structure achievement tag is that of the
  /// last structure of the file; it stays as it is when the file has no structure.
  bool loadConfig(bool force);

  /// Writes the model's entry to the file, removes its other entries there and reloads the tables. False when
  /// the file could not be opened or written. The file is then whole, and the edits stay in the tables; a
  /// critical message has said why, unless the file is missing.
  ///
  /// - A model of no category loses its entries in the file; the result is false all the same, and the tables
  ///   are not reloaded.
  /// - A fragile or falling atom without a record in the tables is not written; that is no failure.
  /// - A helper of no model must not be saved: sections without a "filename" would pass for its entries.
  /// - No SaveGroup of the host may be open, unless the model has no category: the tables would be reloaded
  ///   before the document is written.
  ///
  /// docs/database.md tells which entries a save writes and removes.
  bool saveConfig();

  /// True while the model has entries that exist only in memory, or were removed and not saved.
  ///
  /// - It counts what the construction, a conversion and setAsNonDestructible make or remove; not what
  ///   updateDestructibleModule and addDestructibleState make, nor a module that joins others.
  /// - A save ends it, also one that fails; so does a conversion to a record that the tables hold.
  bool isMissingInDestructiblesXml();

  /// Calls `slot` after every load that this helper performed. It must not destroy the helper but in a load
  /// or a save that was asked for: other operations that load first go on afterwards.
  ks::Connection connectLoadedConfigSignal(std::function<void()> slot) const;

  /// @}
  /// @name Material names and kinds
  /// A kind is 0 (none), 73 to 86 (undamaged parts 0 to 13), 87 to 100 (destroyed parts 0 to 13) or another
  /// number.
  /// @{

  /// Rebuilds the table of material kinds from the model, which must not be null.
  void resetMatKindsByName(SuperModel* superModel);

  /// The kind of a material; 4294967295 when the model has none of that name.
  unsigned int getMaterialKind(const std::string& name) const;

  /// The materials of a kind, in ascending order.
  std::vector<std::string> getMaterialNames(unsigned int kind) const;

  /// Material name to kind; valid as long as the helper.
  const std::map<std::string, unsigned int>& getMaterialNames() const;

  /// The part number in a name: its last character if that is a digit, else 0. Names that hold a line break
  /// give 0.
  unsigned int getMaterialNumericID(const std::string& name) const;

  /// The classes of names: "s..." is static; "d..." or "partD" with more behind it is destroyed; "n..." or
  /// "partN" with more behind it is undamaged.
  bool isStaticMaterialName(const std::string& name) const;
  bool isDestroyedMaterialName(const std::string& name) const;
  bool isUndamagedMaterialName(const std::string& name) const;

  /// Whether a material shows a destroyed or an undamaged part: never a static name; else by its kind, or by
  /// its name when it has no kind.
  bool isMaterialKindDestroyed(const std::string& name) const;
  bool isMaterialKindUndamaged(const std::string& name) const;

  /// Whether the disabler shows a kind. A null disabler is reported, and counts as one that was never
  /// changed.
  bool isMaterialKindVisible(unsigned int kind) const;

  /// Whether a material whose whole name matches `pattern` has kind 0. All such names are appended to `names`
  /// if that is not null. Names of any length are safe, but a pattern with large counted repetitions such as
  /// "{200}" needs stack for these: the caller's for names of up to 64 characters, and enough for thousands
  /// of repetitions for longer ones.
  bool hasDefaultMaterialKinds(const std::regex& pattern, std::vector<std::string>* names) const;

  /// Whether a material's kind does not agree with the part number in its name; static names always agree. A
  /// kind that is not of the name's look, also 0, and any kind of a name of neither look, counts as that of
  /// part 0. All that do not agree are appended to `names` if that is not null.
  bool hasDisorderedMaterialKinds(std::vector<std::string>* names) const;

  /// The kinds that vanish together with a kind; an empty list when there are none. Valid as long as the
  /// helper.
  const std::vector<unsigned int>& getMaterialDependencies(unsigned int kind) const;

  /// @}
  /// @name Category
  /// @{

  KsDestructibleType destructibleType() const;

  /// The category that the materials suggest: a structure when at least two materials are undamaged or two
  /// destroyed, else a fragile when one is undamaged, else not destructible. Changes nothing.
  KsDestructibleType calculateType() const;

  /// Makes the model a structure, a fragile or a falling atom, with the entries that it lacks, and raises the
  /// type signal; refused with a message when it is one. Entries of the former category stay in the tables.
  /// The modules of a structure get their hard points as in construction.
  /// The estimate of the health may load the database first (see calculateDestructibleHealth); modules and
  /// states that the file then brings are kept.
  void setAsStructure();
  void setAsFragile();
  void setAsFallingAtoms();

  /// Removes the model's entries from every table and raises the type signal; nothing happens when the model
  /// has no category and `force` is false.
  void setAsNonDestructible(bool force);

  /// Calls `callback` after every conversion that was not refused, also when setAsNonDestructible(true) found
  /// a model of no category and the category stayed the same. It must not destroy the helper within
  /// resetDescriptions.
  ks::Connection connectDestructibleTypeChanged(std::function<void()> callback) const;

  /// @}
  /// @name Health
  /// @{

  /// Estimates the hit points from the model's path, materials, size and category; -1 when that is not
  /// possible, with a warning for gates and fences of unknown material. Changes nothing, but that it may load
  /// the database first, as every look at the materials of a state does, see there.
  int calculateDestructibleHealth();

  /// @}
  /// @name Parameters
  /// Reading copies the record out and is false, with the argument untouched, when there is none or the model
  /// is of another category; modules are read and updated in any category. Updating a fragile or falling
  /// atom is false in the same cases, and updating anything when nothing differs (an effect scale by less
  /// than 0.0004, or by a difference that is not a number).
  /// @{

  bool getDestructibleModule(const std::string& moduleName, KsDestructibleModuleDesc& desc);
  /// A missing module is made. True means that `desc` differs from what was stored; with `keepExisting` an
  /// existing module is then left as it is.
  bool updateDestructibleModule(const std::string& moduleName, const KsDestructibleModuleDesc& desc,
                                bool keepExisting);
  bool getFragileParameters(KsDestructibleFragileDesc& desc);
  bool updateFragileParameters(const KsDestructibleFragileDesc& desc);
  bool getFallingAtomParameters(KsDestructibleFallingAtomDesc& desc);
  bool updateFallingAtomParameters(const KsDestructibleFallingAtomDesc& desc);
  /// The tag belongs to this helper and is written into the model's entry; both are false unless it is a
  /// structure.
  bool getStructureAchievementTag(std::string& tag);
  bool updateStructureAchievementTag(const std::string& tag);

  /// @}
  /// @name Destruction states
  /// "undamaged" and "destroyed" are built in; the named states belong to the model's entry. A named state
  /// called like a built-in one is stored, and never shown. What lists or shows states or their materials
  /// loads the database first if no helper has since the last one was destroyed: edits that were not saved
  /// are then dropped, and the loaded signal is raised.
  /// @{

  /// Adds an empty state; false when there is one of that name.
  bool addDestructibleState(const std::string& state);
  /// Removes a state; false when there is none of that name.
  bool delDestructibleState(const std::string& state);
  /// Appends a material to a state; false when the state is missing or has the material.
  bool addMaterialToDestrState(const std::string& state, const std::string& material);
  /// Removes the first occurrence of a material from a state; false when the state or the material is
  /// missing.
  bool delMaterialFromDestrState(const std::string& state, const std::string& material);

  /// "undamaged", the named states in ascending order, "destroyed".
  std::vector<std::string> getStateNames();

  /// The materials that a named state shows destroyed, or those of the built-in look (undamaged or destroyed
  /// kinds; names that hold "s_" only for falling atoms); empty for an unknown state.
  std::vector<std::string> getMaterialsForState(const std::string& state);

  /// The kinds of those materials, then the kinds that these vanish together with; duplicates are kept.
  std::vector<unsigned int> getMatKindsForState(const std::string& state);

  /// Makes a state the current one and shows it. False when it is unknown: it is then the current one
  /// nevertheless, and the model looks undamaged.
  bool setDestructibleState(const std::string& state);

  /// Shows one undamaged kind (73 to 86) destroyed or restores it; the current state is then "destroyed".
  /// Has no effect for other kinds, or when the kind is so already.
  void setMaterialDestroyed(unsigned int kind, bool destroyed);

  /// The current state's name; valid as long as the helper.
  const std::string& getDestructibleState() const;

  /// @}

 protected:
  /// Reloads the tables when the database changed, or a resource whose name holds that of the database, at
  /// most once per frame for all helpers together.
  void onResourceModified(const BasicStringRef& basePath, const BasicStringRef& resourceName,
                          Action action) override;

 private:
  friend struct KsDestructiblesHelperTestAccess;
  friend struct ModelSaving;

  using ModuleTable = std::map<std::string, KsDestructibleModuleDesc>;

  // Construction.
  void collectBspMaterialNames(const SuperModel& superModel);
  void collectHardpointNames(SuperModel& superModel);
  void classify();
  void makeMissingEntries();
  void collectMaterialDependencies();

  // Destruction.
  void eraseEntriesOf(KsDestructibleType type) const;

  // Loading.
  struct LastLoad_t;
  struct Tables_t;
  static Tables_t takeTables();
  static void restoreLoaded(Tables_t tables);
  void rememberLoadedEntries() const noexcept;
  void fillTables(DataSection& root, Tables_t last);
  void readAll(DataSection& root);
  void readSaved(DataSection& root);
  void readEntry(KsDestructibleType type, std::string model, DataSection& entry);

  // Writing.
  bool writeToFile();
  void makeFragileXmlTag(const KsDestructibleFragileDesc& desc, SmartPointer<DataSection>& entry);
  void makeFallingAtomXmlTag(const KsDestructibleFallingAtomDesc& desc, SmartPointer<DataSection>& entry);
  void makeModulesXmlTag(const ModuleTable& modules, SmartPointer<DataSection>& modulesSection);
  void makeStatesXmlTag(const DestrStates_t& states, SmartPointer<DataSection>& statesSection);
  void deleteDuplicate(SmartPointer<DataSection>& section, int firstIndex);
  bool checkTagForEmpty(const std::string& tag);

  // Category and missing entries.
  bool checkForExistence();
  std::string getCategoryName();
  void setAs(KsDestructibleType type, void (KsDestructiblesHelper::*fill)(), const char* refusal,
             const char* success);
  void setMissingModules();
  void setMissingFragile();
  void setMissingFallingAtom();
  std::string intactMaterial() const;

  // Health.
  int gateHealth(const std::string& normalisedPath);
  int healthByCategory(bool isFillingModules);
  int estimateHealth(bool isFillingModules);

  // States.
  std::vector<std::string>* materialsOfNamedState(const std::string& state);
  void applyKinds(const std::vector<unsigned int>& hide, const std::vector<unsigned int>& show);

  KsMaterialDisabler* materialDisabler_;
  std::string modelName_;
  std::string structureAchievementTag_;
  KsDestructibleType destructibleType_ = DT_NON_DESTRUCTIBLE;
  std::string destructibleState_;
  std::vector<std::string> hardpointNames_;
  std::map<std::string, unsigned int> materialNames_;
  std::map<unsigned int, std::vector<unsigned int>> materialDependencies_;
  std::set<std::string> bspMaterialNames_;
  bool isMissingInDestructiblesXml_ = false;
  mutable ks::Signal<void()> destructibleTypeChanged_;
  mutable ks::Signal<void()> loadedConfigSignal_;

  static std::map<std::string, DestrStates_t> s_destrStateMap;
  static std::map<std::string, ModuleTable> s_destrModuleMap;
  static std::map<std::string, KsDestructibleFragileDesc> s_destrFragileMap;
  static std::map<std::string, KsDestructibleFallingAtomDesc> s_destrFallingAtomMap;
  static bool s_hasLoadedDestrXml;
  static LastLoad_t s_lastLoad;
};

/// @name Scene
/// Independent of the helper and the database. Main thread only.
/// @{

/// Hides trees that are close to the camera, or shows them again; nothing happens without a tree renderer.
DESTRUCTIBLES_API void ks_enableTreeHiding(bool enable);

/// Sets the tree renderer's two hiding radii, in metres, in their order; nothing happens without a tree
/// renderer.
DESTRUCTIBLES_API void ks_setTreeHidingRadius(float hiddenRadius, float fadeRadius);

/// A snapshot of the world matrix of one chunk of a space; the identity for an unknown chunk. Empty when
/// there is no such space and, with a development assertion, when the space has no destruction data.
DESTRUCTIBLES_API std::shared_ptr<MatrixProvider> ks_getChunkMatrix(int spaceId, int chunkId);

/// @}

}  // namespace Tal
