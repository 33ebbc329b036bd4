// Installing and removing callbacks: the local and inherited paths, replaced records, refusals
// and the three logged failures.

#include <algorithm>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/hooks/HookTestSupport.h"
#include "zukit/hooks/NSObject+ZuSwizzle.h"
#include "zukit/hooks/ZuHookPoints.h"
#include "zukit/hooks/ZuSwizzler.h"
#include "zukit/platform/runtime/MessageSend.h"
#include "zukit/platform/runtime/NSNumber.h"

namespace {

using Events = std::vector<std::string>;
using zukit::test::HookRecorder;
using zukit::test::recordOn;

zu::SEL didAppear() {
  return zu::sel_registerName("viewDidAppear:");
}
zu::SEL willDisappear() {
  return zu::sel_registerName("viewWillDisappear:");
}

// An implementation that records "<Class>.<selector> YES|NO", naming the class that owns it.
template <const char* Owner>
void appearance(zu::Object* self, zu::SEL selector, bool animated) {
  recordOn(self,
           std::string(Owner) + "." + zu::sel_getName(selector) + (animated ? " YES" : " NO"));
}

// A callback that records "<name> <boxed flag>".
std::shared_ptr<ZuBlock> callback(const std::string& name) {
  return ZuBlock::make<ZuViewAppearanceBlock>(
      [name](zu::Object* receiver, zu::SEL /*selector*/, const zu::Value& animated) {
        recordOn(receiver, name + " " + animated.description());
      });
}

Events send(const std::shared_ptr<HookRecorder>& object, zu::SEL selector, bool animated) {
  object->events.clear();
  zu::objc_msgSend<void, bool>(object, selector, animated);
  Events events = object->events;
  // The callbacks run after the saved implementation, in no promised order among themselves.
  if (events.size() > 2) std::sort(events.begin() + 1, events.end());
  return events;
}

constexpr char kScreen[] = "SwScreen";
class SwScreen : public HookRecorder {
 public:
  ZU_RUNTIME_CLASS(SwScreen, HookRecorder, &addMethods)

 private:
  static void addMethods(zu::Class* cls) {
    zu::class_addMethod(cls, didAppear(), zu::imp(&appearance<kScreen>));
  }
};

constexpr char kBase[] = "SwBase";
class SwBase : public HookRecorder {
 public:
  ZU_RUNTIME_CLASS(SwBase, HookRecorder, &addMethods)

 private:
  static void addMethods(zu::Class* cls) {
    zu::class_addMethod(cls, didAppear(), zu::imp(&appearance<kBase>));
    zu::class_addMethod(cls, willDisappear(), zu::imp(&appearance<kBase>));
  }
};

class SwChild : public SwBase {
 public:
  ZU_RUNTIME_CLASS(SwChild, SwBase)
};

TEST(ZuSwizzlerTest, TwoNamesKeepBothCallbacksAndOneNameKeepsOnlyTheLast) {
  ZU_REQUIRE_EMPTY_SLOT(UIViewControllerViewDidAppearSwizzle);
  zu::Method entry = zu::class_getInstanceMethod(SwScreen::staticClass(), didAppear());
  ZuSwizzler::swizzleSelector(didAppear(), SwScreen::staticClass(), callback("a"), "a");
  ZuSwizzler::swizzleSelector(didAppear(), SwScreen::staticClass(), callback("b"), "b");

  // The class's own entry now runs the replacement; the record saved what it ran before.
  EXPECT_EQ(zu::method_getImplementation(entry), zuGetSwizzleIMPBySELName("viewDidAppear:"));
  EXPECT_EQ(zu::class_copyMethodList(SwScreen::staticClass()).size(), 1U);
  const std::shared_ptr<ZuSwizzle> record = UIViewControllerViewDidAppearSwizzle.record();
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->cls(), SwScreen::staticClass());
  EXPECT_EQ(record->selector(), didAppear());
  EXPECT_EQ(record->originalMethod(), zu::imp(&appearance<kScreen>));
  EXPECT_EQ(record->numArgs(), 0U);

  const auto screen = std::make_shared<SwScreen>();
  EXPECT_EQ(send(screen, didAppear(), true), (Events{"SwScreen.viewDidAppear: YES", "a 1", "b 1"}));
  EXPECT_EQ(send(screen, didAppear(), false), (Events{"SwScreen.viewDidAppear: NO", "a 0", "b 0"}));

  // The same name again replaces that callback only.
  const auto replacement = callback("a2");
  ZuSwizzler::swizzleSelector(didAppear(), SwScreen::staticClass(), replacement, "a");
  EXPECT_EQ(send(screen, didAppear(), true),
            (Events{"SwScreen.viewDidAppear: YES", "a2 1", "b 1"}));
  EXPECT_EQ(UIViewControllerViewDidAppearSwizzle.get(), record.get());
  EXPECT_EQ(record->blocks().count(), 2U);
  EXPECT_EQ(record->blocks().objectForKey("a"), replacement);
}

TEST(ZuSwizzlerTest, AnInheritedMethodHookedOnASubclassLeavesTheSuperclassUnhooked) {
  ZU_REQUIRE_EMPTY_SLOT(UIViewControllerViewWillDisappearSwizzle);
  zu::Method inherited = zu::class_getInstanceMethod(SwChild::staticClass(), willDisappear());
  EXPECT_FALSE(ZuSwizzler::isLocallyDefinedMethod(inherited, SwChild::staticClass()));
  EXPECT_TRUE(ZuSwizzler::isLocallyDefinedMethod(inherited, SwBase::staticClass()));
  EXPECT_FALSE(ZuSwizzler::isLocallyDefinedMethod(nullptr, SwBase::staticClass()));

  ZuSwizzler::swizzleSelector(willDisappear(), SwChild::staticClass(), callback("child"), "child");

  // The subclass gained its own entry running the replacement; the superclass's is untouched.
  zu::Method added = zu::class_getInstanceMethod(SwChild::staticClass(), willDisappear());
  EXPECT_NE(added, inherited);
  EXPECT_TRUE(ZuSwizzler::isLocallyDefinedMethod(added, SwChild::staticClass()));
  EXPECT_EQ(zu::method_getImplementation(added), zuGetSwizzleIMPBySELName("viewWillDisappear:"));
  EXPECT_STREQ(zu::method_getTypeEncoding(added), "v@:B");
  EXPECT_EQ(zu::method_getImplementation(inherited), zu::imp(&appearance<kBase>));
  EXPECT_EQ(UIViewControllerViewWillDisappearSwizzle.get()->originalMethod(),
            zu::imp(&appearance<kBase>));

  EXPECT_EQ(send(std::make_shared<SwChild>(), willDisappear(), true),
            (Events{"SwBase.viewWillDisappear: YES", "child 1"}));
  EXPECT_EQ(send(std::make_shared<SwBase>(), willDisappear(), true),
            Events{"SwBase.viewWillDisappear: YES"});
}

constexpr char kFirst[] = "SwFirst";
class SwFirst : public HookRecorder {
 public:
  ZU_RUNTIME_CLASS(SwFirst, HookRecorder, &addMethods)

 private:
  static void addMethods(zu::Class* cls) {
    zu::class_addMethod(cls, didAppear(), zu::imp(&appearance<kFirst>));
  }
};

class SwLater : public SwBase {
 public:
  ZU_RUNTIME_CLASS(SwLater, SwBase)
};

TEST(ZuSwizzlerTest, ASecondClassInheritingTheMethodReplacesTheRecordAndItsCallbacks) {
  ZU_REQUIRE_EMPTY_SLOT(UIViewControllerViewDidAppearSwizzle);
  ZuSwizzler::swizzleSelector(didAppear(), SwFirst::staticClass(), callback("first"), "first");
  ZuSwizzler::swizzleSelector(didAppear(), SwFirst::staticClass(), callback("shared"), "shared");
  const std::weak_ptr<ZuSwizzle> firstRecord = UIViewControllerViewDidAppearSwizzle.record();

  ZuSwizzler::swizzleSelector(didAppear(), SwLater::staticClass(), callback("later"), "later");
  const std::shared_ptr<ZuSwizzle> record = UIViewControllerViewDidAppearSwizzle.record();
  EXPECT_NE(record, firstRecord.lock());
  EXPECT_EQ(record->cls(), SwLater::staticClass());
  // The saved implementation stays the first record's, not the inherited one of SwLater.
  EXPECT_EQ(record->originalMethod(), zu::imp(&appearance<kFirst>));
  EXPECT_EQ(record->blocks().count(), 1U);

  // Both classes now run the first class's implementation and only the new callback.
  EXPECT_EQ(send(std::make_shared<SwFirst>(), didAppear(), true),
            (Events{"SwFirst.viewDidAppear: YES", "later 1"}));
  EXPECT_EQ(send(std::make_shared<SwLater>(), didAppear(), false),
            (Events{"SwFirst.viewDidAppear: NO", "later 0"}));
  EXPECT_EQ(send(std::make_shared<SwBase>(), didAppear(), false),
            Events{"SwBase.viewDidAppear: NO"});

  // A later install on the first class (its own method) joins the current record.
  ZuSwizzler::swizzleSelector(didAppear(), SwFirst::staticClass(), callback("again"), "again");
  EXPECT_EQ(UIViewControllerViewDidAppearSwizzle.get(), record.get());
  EXPECT_EQ(send(std::make_shared<SwLater>(), didAppear(), true),
            (Events{"SwFirst.viewDidAppear: YES", "again 1", "later 1"}));
}

TEST(ZuSwizzlerTest, RemovingCallbacksNeverRestoresTheImplementation) {
  ZU_REQUIRE_EMPTY_SLOT(UIViewControllerViewWillDisappearSwizzle);
  // Nothing to remove from an empty slot.
  ZuSwizzler::unswizzleSelector(willDisappear(), SwBase::staticClass(), "a");
  EXPECT_EQ(UIViewControllerViewWillDisappearSwizzle.get(), nullptr);

  ZuSwizzler::swizzleSelector(willDisappear(), SwBase::staticClass(), callback("a"), "a");
  ZuSwizzler::swizzleSelector(willDisappear(), SwBase::staticClass(), callback("b"), "b");
  ZuSwizzle* record = UIViewControllerViewWillDisappearSwizzle.get();
  ASSERT_NE(record, nullptr);
  const auto base = std::make_shared<SwBase>();

  // Unknown names, missing names and a missing selector change nothing.
  const ZuBlockMap before = record->blocks();
  ZuSwizzler::unswizzleSelector(willDisappear(), SwBase::staticClass(), "c");
  ZuSwizzler::unswizzleSelector(willDisappear(), SwBase::staticClass(), "A");
  ZuSwizzler::unswizzleSelector(willDisappear(), SwBase::staticClass(), zu::Value());
  ZuSwizzler::unswizzleSelector(willDisappear(), SwBase::staticClass(), zu::Value::null());
  ZuSwizzler::unswizzleSelector(nullptr, SwBase::staticClass(), "a");
  ZuSwizzler::unswizzleSelector(zu::sel_registerName("viewDidAppear"), SwBase::staticClass(), "a");
  EXPECT_TRUE(record->blocks() == before);

  // The class argument plays no part.
  ZuSwizzler::unswizzleSelector(willDisappear(), nullptr, "a");
  EXPECT_EQ(send(base, willDisappear(), true), (Events{"SwBase.viewWillDisappear: YES", "b 1"}));
  ZuSwizzler::unswizzleSelector(willDisappear(), SwScreen::staticClass(), "b");
  EXPECT_EQ(record->blocks().count(), 0U);
  EXPECT_EQ(send(base, willDisappear(), false), Events{"SwBase.viewWillDisappear: NO"});
  EXPECT_EQ(zu::class_getMethodImplementation(SwBase::staticClass(), willDisappear()),
            zuGetSwizzleIMPBySELName("viewWillDisappear:"));
  EXPECT_EQ(UIViewControllerViewWillDisappearSwizzle.get(), record);
  EXPECT_EQ(record->description(), "Swizzle on SwBase::viewWillDisappear: [\n]");
}

constexpr char kPlain[] = "SwPlain";
class SwPlain : public HookRecorder {
 public:
  ZU_RUNTIME_CLASS(SwPlain, HookRecorder, &addMethods)

 private:
  static void addMethods(zu::Class* cls) {
    zu::class_addMethod(cls, zu::sel_registerName("viewWillAppear:"), zu::imp(&appearance<kPlain>));
    zu::class_addMethod(cls, zu::sel_registerName("viewdidappear:"), zu::imp(&appearance<kPlain>));
    zu::class_addMethod(cls, didAppear(), zu::imp(&appearance<kPlain>));
  }
};

TEST(ZuSwizzlerTest, OtherSelectorsAndMissingArgumentsAreRefusedWithoutAWord) {
  const std::string logBefore = zukit::test::logFileText();
  ZuSwizzle* const slotsBefore[] = {saveUploadInfoSwizzle.get(),
                                    UIViewControllerViewDidAppearSwizzle.get(),
                                    UIViewControllerViewWillDisappearSwizzle.get(),
                                    MailComposeControllerDidFinishWithResultSwizzle.get()};
  zu::Class* plain = SwPlain::staticClass();
  {
    const zukit::test::StderrCapture console;
    ZuSwizzler::swizzleSelector(zu::sel_registerName("viewWillAppear:"), plain, callback("x"), "x");
    ZuSwizzler::swizzleSelector(zu::sel_registerName("viewdidappear:"), plain, callback("x"), "x");
    ZuSwizzler::swizzleSelector(nullptr, plain, callback("x"), "x");
    ZuSwizzler::swizzleSelector(didAppear(), nullptr, callback("x"), "x");
    ZuSwizzler::swizzleSelector(didAppear(), plain, nullptr, "x");
    ZuSwizzler::swizzleSelector(didAppear(), plain, callback("x"), zu::Value());
    ZuSwizzler::swizzleSelector(didAppear(), plain, callback("x"), zu::Value::null());
    ZuSwizzler::swizzleSelector(didAppear(), plain, callback("x"), "");
    ZuSwizzler::swizzleSelector(didAppear(), plain, callback("x"), 5);
    ZuSwizzler::swizzleSelector(
        didAppear(), plain,
        ZuBlock::make<ZuViewAppearanceBlock>(std::function<ZuViewAppearanceBlock>()), "x");
    EXPECT_EQ(console.text(), "");
  }
  for (const zu::Method method : zu::class_copyMethodList(plain)) {
    EXPECT_EQ(zu::method_getImplementation(method), zu::imp(&appearance<kPlain>));
  }
  EXPECT_EQ(saveUploadInfoSwizzle.get(), slotsBefore[0]);
  EXPECT_EQ(UIViewControllerViewDidAppearSwizzle.get(), slotsBefore[1]);
  EXPECT_EQ(UIViewControllerViewWillDisappearSwizzle.get(), slotsBefore[2]);
  EXPECT_EQ(MailComposeControllerDidFinishWithResultSwizzle.get(), slotsBefore[3]);
  EXPECT_EQ(zukit::test::logFileText(), logBefore);
}

class SwBare : public HookRecorder {
 public:
  ZU_RUNTIME_CLASS(SwBare, HookRecorder)
};

TEST(ZuSwizzlerTest, AMissingMethodIsReportedAndHookedAnyway) {
  ZU_REQUIRE_EMPTY_SLOT(UIViewControllerViewDidAppearSwizzle);
  ZuLogger::configLogLevel(ZuLogLevelError);
  const zukit::test::StderrCapture console;
  ZuSwizzler::swizzleSelector(didAppear(), SwBare::staticClass(), callback("bare"), "bare");

  EXPECT_NE(zukit::test::logFileText().find(
                "  SwizzleException:Cannot find method for viewDidAppear: on SwBare\n"),
            std::string::npos);
  // The banner names the swizzler's method, without its first character.
  EXPECT_NE(console.text().find("[ZuSwizzler swizzleSelector:onClass:withBlock:named:]\n"
                                "SwizzleException:Cannot find method for viewDidAppear: on "
                                "SwBare\n"),
            std::string::npos)
      << console.text();

  // The class gained the replacement; the record has no saved implementation.
  EXPECT_EQ(zu::class_getMethodImplementation(SwBare::staticClass(), didAppear()),
            zuGetSwizzleIMPBySELName("viewDidAppear:"));
  ASSERT_NE(UIViewControllerViewDidAppearSwizzle.get(), nullptr);
  EXPECT_EQ(UIViewControllerViewDidAppearSwizzle.get()->originalMethod(), nullptr);

  // A view-controller hook calls the saved implementation untested: the runtime refuses the
  // missing one with a console line, and the callbacks still run.
  EXPECT_EQ(send(std::make_shared<SwBare>(), didAppear(), true), Events{"bare 1"});
  EXPECT_NE(console.text().find(
                "-[SwBare viewDidAppear:]: refused a call of a missing implementation (v@:B)"),
            std::string::npos);
}

// A superclass whose "viewWillDisappear:" takes no flag, so the hook point's replacement does
// not fit it.
void flaglessDisappear(zu::Object* self, zu::SEL /*selector*/) {
  recordOn(self, "flagless");
}

class SwFlagless : public HookRecorder {
 public:
  ZU_RUNTIME_CLASS(SwFlagless, HookRecorder, &addMethods)

 private:
  static void addMethods(zu::Class* cls) {
    zu::class_addMethod(cls, willDisappear(), zu::imp(&flaglessDisappear));
  }
};

class SwFlaglessChild : public SwFlagless {
 public:
  ZU_RUNTIME_CLASS(SwFlaglessChild, SwFlagless)
};

TEST(ZuSwizzlerTest, AnAddTheRuntimeRefusesIsReportedAndChangesNothing) {
  ZuSwizzle* before = UIViewControllerViewWillDisappearSwizzle.get();
  ZuSwizzler::swizzleSelector(willDisappear(), SwFlaglessChild::staticClass(), callback("c"), "c");
  EXPECT_NE(zukit::test::logFileText().find(
                "  SwizzleException:Could not add swizzle for SwFlaglessChild::viewWillDisappear:, "
                "even though it didn't already exist locally\n"),
            std::string::npos);
  EXPECT_TRUE(zu::class_copyMethodList(SwFlaglessChild::staticClass()).empty());
  EXPECT_EQ(UIViewControllerViewWillDisappearSwizzle.get(), before);
  const auto child = std::make_shared<SwFlaglessChild>();
  zu::objc_msgSend(child, willDisappear());
  EXPECT_EQ(child->events, Events{"flagless"});
}

// A host class whose "viewDidAppear:" takes an object instead of the flag, and a subclass that
// inherits a "saveUploadInfo:event:handler:" taking ids where the hook point takes Values: both
// encode the same ("v@:@@@"), the C++ types differ.
void objectAppearance(zu::Object* self, zu::SEL /*selector*/, const zu::Value& /*animated*/) {
  recordOn(self, "object appearance");
}
void idUpload(zu::Object* self, zu::SEL /*selector*/, const zu::id& /*info*/,
              const zu::id& /*event*/, const zu::id& /*handler*/) {
  recordOn(self, "id upload");
}

class SwOtherTyped : public HookRecorder {
 public:
  ZU_RUNTIME_CLASS(SwOtherTyped, HookRecorder, &addMethods)

 private:
  static void addMethods(zu::Class* cls) {
    zu::class_addMethod(cls, didAppear(), zu::imp(&objectAppearance));
    zu::class_addMethod(cls, zu::sel_registerName("saveUploadInfo:event:handler:"),
                        zu::imp(&idUpload));
  }
};

class SwOtherTypedChild : public SwOtherTyped {
 public:
  ZU_RUNTIME_CLASS(SwOtherTypedChild, SwOtherTyped)
};

TEST(ZuSwizzlerTest, AHookNeverDisablesAMethodOfAnotherType) {
  ZU_REQUIRE_EMPTY_SLOT(UIViewControllerViewDidAppearSwizzle);
  ZU_REQUIRE_EMPTY_SLOT(saveUploadInfoSwizzle);
  ZuLogger::configLogLevel(ZuLogLevelError);
  const zukit::test::StderrCapture console;
  const zu::SEL upload = zu::sel_registerName("saveUploadInfo:event:handler:");
  zu::Method ownAppearance = zu::class_getInstanceMethod(SwOtherTyped::staticClass(), didAppear());
  const zu::IMP ownImplementation = zu::method_getImplementation(ownAppearance);

  // A method the class defines itself.
  ZuSwizzler::swizzleSelector(didAppear(), SwOtherTyped::staticClass(), callback("c"), "c");
  // An inherited one with the same encoding.
  ZuSwizzler::swizzleSelector(
      upload, SwOtherTypedChild::staticClass(),
      ZuBlock::make<ZuSaveUploadInfoBlock>(
          [](zu::Object*, zu::SEL, const zu::Value&, const zu::Value&, const zu::Value&) {}),
      "u");

  const std::string log = zukit::test::logFileText();
  EXPECT_NE(log.find("  SwizzleException:Cannot swizzle SwOtherTyped::viewDidAppear:, whose "
                     "method has type v@:@ where the swizzle needs v@:B\n"),
            std::string::npos)
      << log;
  EXPECT_NE(log.find("  SwizzleException:Cannot swizzle SwOtherTypedChild::saveUploadInfo:event:"
                     "handler:, whose method has type void (*)(zu::Object*, zu::objc_selector "
                     "const*, std::shared_ptr<zu::Object> const&, std::shared_ptr<zu::Object> "
                     "const&, std::shared_ptr<zu::Object> const&) where the swizzle needs void "
                     "(*)(zu::Object*, zu::objc_selector const*, zu::Value const&, zu::Value "
                     "const&, zu::Value const&)\n"),
            std::string::npos)
      << log;
  // At level 5, with the swizzler's name on the console banner.
  EXPECT_NE(console.text().find("[Zu][Error]"), std::string::npos) << console.text();
  EXPECT_NE(console.text().find("[ZuSwizzler swizzleSelector:onClass:withBlock:named:]\n"
                                "SwizzleException:Cannot swizzle SwOtherTyped::viewDidAppear:"),
            std::string::npos)
      << console.text();

  // Both methods are left as they were, and nothing was installed.
  EXPECT_EQ(zu::method_getImplementation(ownAppearance), ownImplementation);
  EXPECT_TRUE(zu::class_copyMethodList(SwOtherTypedChild::staticClass()).empty());
  EXPECT_EQ(UIViewControllerViewDidAppearSwizzle.get(), nullptr);
  EXPECT_EQ(saveUploadInfoSwizzle.get(), nullptr);
  const auto child = std::make_shared<SwOtherTypedChild>();
  zu::objc_msgSend<void, const zu::Value&>(child, didAppear(), zu::Value(true));
  zu::objc_msgSend<void, const zu::id&, const zu::id&, const zu::id&>(child, upload, nullptr,
                                                                      nullptr, nullptr);
  EXPECT_EQ(child->events, (Events{"object appearance", "id upload"}));
}

TEST(ZuSwizzlerTest, RecordsDescribeTheirClassSelectorAndCallbacks) {
  const auto empty = std::make_shared<ZuSwizzle>();
  EXPECT_EQ(empty->description(), "Swizzle on (null)::(null) [\n]");
  EXPECT_EQ(empty->blocks().count(), 0U);
  EXPECT_EQ(empty->originalMethod(), nullptr);

  const auto block = callback("one");
  EXPECT_TRUE(std::regex_match(block->description(), std::regex("<ZuBlock: 0x[0-9a-f]+>")))
      << block->description();
  const auto record = std::make_shared<ZuSwizzle>(block, "one", SwScreen::staticClass(),
                                                  didAppear(), zu::imp(&appearance<kScreen>));
  EXPECT_EQ(record->description(),
            "Swizzle on SwScreen::viewDidAppear: [\n\tone : " + block->description() + "\n]");
  const auto second = callback("two");
  record->setBlock(second, "two");
  // Both callbacks, each once, in either order.
  const std::string text = record->description();
  const std::string head = "Swizzle on SwScreen::viewDidAppear: [\n";
  const std::string one = "\tone : " + block->description() + "\n";
  const std::string two = "\ttwo : " + second->description() + "\n";
  EXPECT_TRUE(text == head + one + two + "]" || text == head + two + one + "]") << text;

  // Names compare by value, callbacks by identity: a copied map holds the same callbacks.
  ZuBlockMap map = record->blocks();
  EXPECT_EQ(map.objectForKey(std::string("o") + "ne"), block);
  map.setObject(callback("one"), "one");
  EXPECT_FALSE(map == record->blocks()) << "another callback under the same name";
  record->setBlocks(map);
  EXPECT_TRUE(record->blocks() == map);
  EXPECT_NE(record->blocks().objectForKey("one"), block);
}

// zu_exchangeOriginalSel on a class that only inherits the original selector.
constexpr char kTrack[] = "track";
constexpr char kLogged[] = "logged";
class SwTrackerBase : public HookRecorder {
 public:
  ZU_RUNTIME_CLASS(SwTrackerBase, HookRecorder, &addMethods)

 private:
  static void addMethods(zu::Class* cls) {
    zu::class_addMethod(cls, zu::sel_registerName("track:"), zu::imp(&appearance<kTrack>));
  }
};

class SwTracker : public SwTrackerBase {
 public:
  ZU_RUNTIME_CLASS(SwTracker, SwTrackerBase, &addMethods)

 private:
  static void addMethods(zu::Class* cls) {
    zu::class_addMethod(cls, zu::sel_registerName("zu_track:"), zu::imp(&appearance<kLogged>));
  }
};

TEST(ZuSwizzlerTest, ExchangingWithAnInheritedOriginalChangesTheSuperclassToo) {
  const zu::SEL track = zu::sel_registerName("track:");
  const zu::SEL zuTrack = zu::sel_registerName("zu_track:");
  zu_exchangeOriginalSel(SwTracker::staticClass(), track, zuTrack);
  const auto tracker = std::make_shared<SwTracker>();
  EXPECT_EQ(send(tracker, track, true), Events{"logged.track: YES"});
  EXPECT_EQ(send(tracker, zuTrack, true), Events{"track.zu_track: YES"});
  EXPECT_EQ(send(std::make_shared<SwTrackerBase>(), track, false), Events{"logged.track: NO"});
  EXPECT_EQ(zu::class_copyMethodList(SwTracker::staticClass()).size(), 2U);

  // Missing methods or class: nothing changes, nothing breaks.
  zu_exchangeOriginalSel(SwTracker::staticClass(), zu::sel_registerName("absent:"), track);
  zu_exchangeOriginalSel(nullptr, track, zuTrack);
  zu_exchangeOriginalSel(SwTracker::staticClass(), track, nullptr);
  EXPECT_EQ(send(tracker, track, true), Events{"logged.track: YES"});
}

}  // namespace
