#pragma once

// The concrete classes of the YJob cluster. YConcreteJob's shared placeholder (YJob::alloc())
// makes them: each of its initialisers returns a new job of the class that fits the arguments
// and leaves the placeholder unchanged, so any thread may use it.

#include <Yarkit/YJob.h>
#include <Yarkit/core/runtime/Ref.h>

namespace yk {

class Array;
class Invocation;

class YConcreteJob : public YJob {
    YK_OBJECT(YConcreteJob, YJob)
public:
    // The placeholder's initialisers: initWithTarget:selector:..., initWithInvocation:.
    [[nodiscard]] Ref<YJob> initWithTarget(Object* target, Selector selector) const;
    [[nodiscard]] Ref<YJob> initWithTarget(Object* target, Selector selector, Object* object) const;
    [[nodiscard]] Ref<YJob> initWithTarget(Object* target, Selector selector, Object* object1, Object* object2) const;
    [[nodiscard]] Ref<YJob> initWithTarget(Object* target, Selector selector, Object* object1, Object* object2, Object* object3) const;
    [[nodiscard]] Ref<YJob> initWithTargetWithObjects(Object* target, Selector selector, const Array* objects) const;
    [[nodiscard]] Ref<YJob> initWithTargetWithBool(Object* target, Selector selector, bool value) const;
    [[nodiscard]] Ref<YJob> initWithTargetWithInt(Object* target, Selector selector, int32_t value) const;
    [[nodiscard]] Ref<YJob> initWithTargetWithInt(Object* target, Selector selector, int32_t value1, int32_t value2) const;
    [[nodiscard]] Ref<YJob> initWithTargetWithFloat(Object* target, Selector selector, float value) const;
    [[nodiscard]] Ref<YJob> initWithTargetWithDouble(Object* target, Selector selector, double value) const;
    [[nodiscard]] Ref<YJob> initWithInvocation(Invocation* invocation) const;

protected:
    YConcreteJob() = default;
    template <typename T, typename... Args>
    friend Ref<T> make(Args&&... args);
};

// A message without arguments; the base of the argument classes.
class YTargetSelectorJob : public YConcreteJob {
    YK_OBJECT(YTargetSelectorJob, YConcreteJob)
public:
    YTargetSelectorJob(Object* target, Selector selector);

    Object* target() const override { return _target.get(); }
    void setTarget(Object* target) override { _target = target; }
    Selector selector() const override { return _selector; }
    void setSelector(Selector selector) override { _selector = selector; }
    Ref<Invocation> invocation() const override;

    // A member test, then target and selector (and each class's arguments). A value matches
    // when the other job's value answers isEqual with this one's, so a null never matches.
    bool isEqual(const Object* other) const override;

protected:
    void sendMessage() override;
    // Places this class's arguments into an invocation of its method.
    virtual void setArguments(Invocation&) const { }
    // Compares this class's arguments with those of a job of the same class.
    virtual bool argumentsMatch(const YTargetSelectorJob&) const { return true; }

private:
    Ref<Object> _target;
    Selector _selector;
};

class YObjectArgJob final : public YTargetSelectorJob {
    YK_OBJECT(YObjectArgJob, YTargetSelectorJob)
public:
    YObjectArgJob(Object* target, Selector selector, Object* object);
    Object* objectArg() const { return _objectArg.get(); }
    void setObjectArg(Object* object) { _objectArg = object; }

private:
    void sendMessage() override;
    void setArguments(Invocation& invocation) const override;
    bool argumentsMatch(const YTargetSelectorJob& other) const override;
    Ref<Object> _objectArg;
};

class YObjectObjectArgJob final : public YTargetSelectorJob {
    YK_OBJECT(YObjectObjectArgJob, YTargetSelectorJob)
public:
    YObjectObjectArgJob(Object* target = nullptr, Selector selector = {}, Object* object1 = nullptr, Object* object2 = nullptr);
    Object* objectArg1() const { return _objectArg1.get(); }
    Object* objectArg2() const { return _objectArg2.get(); }
    void setObjectArg1(Object* object) { _objectArg1 = object; }
    void setObjectArg2(Object* object) { _objectArg2 = object; }

private:
    void setArguments(Invocation& invocation) const override;
    bool argumentsMatch(const YTargetSelectorJob& other) const override;
    Ref<Object> _objectArg1;
    Ref<Object> _objectArg2;
};

class YObjectObjectObjectArgJob final : public YTargetSelectorJob {
    YK_OBJECT(YObjectObjectObjectArgJob, YTargetSelectorJob)
public:
    YObjectObjectObjectArgJob(Object* target, Selector selector, Object* object1, Object* object2, Object* object3);
    Object* objectArg1() const { return _objectArg1.get(); }
    Object* objectArg2() const { return _objectArg2.get(); }
    Object* objectArg3() const { return _objectArg3.get(); }
    void setObjectArg1(Object* object) { _objectArg1 = object; }
    void setObjectArg2(Object* object) { _objectArg2 = object; }
    void setObjectArg3(Object* object) { _objectArg3 = object; }

private:
    void setArguments(Invocation& invocation) const override;
    bool argumentsMatch(const YTargetSelectorJob& other) const override;
    Ref<Object> _objectArg1;
    Ref<Object> _objectArg2;
    Ref<Object> _objectArg3;
};

// Argument k of the method is element k of the array, or null past its end; surplus elements
// are ignored. The array is copied.
class YObjectsArgJob final : public YTargetSelectorJob {
    YK_OBJECT(YObjectsArgJob, YTargetSelectorJob)
public:
    YObjectsArgJob(Object* target, Selector selector, const Array* objects);
    Array* objectsArg() const { return _objectsArg.get(); }
    void setObjectsArg(const Array* objects);

private:
    void setArguments(Invocation& invocation) const override;
    bool argumentsMatch(const YTargetSelectorJob& other) const override;
    Ref<Array> _objectsArg;
};

class YBoolArgJob final : public YTargetSelectorJob {
    YK_OBJECT(YBoolArgJob, YTargetSelectorJob)
public:
    YBoolArgJob(Object* target, Selector selector, bool value);
    bool boolArg() const { return _boolArg; }
    void setBoolArg(bool value) { _boolArg = value; }

private:
    void setArguments(Invocation& invocation) const override;
    bool argumentsMatch(const YTargetSelectorJob& other) const override;
    bool _boolArg;
};

class YIntArgJob final : public YTargetSelectorJob {
    YK_OBJECT(YIntArgJob, YTargetSelectorJob)
public:
    YIntArgJob(Object* target, Selector selector, int32_t value);
    int32_t intArg() const { return _intArg; }
    void setIntArg(int32_t value) { _intArg = value; }

private:
    void setArguments(Invocation& invocation) const override;
    bool argumentsMatch(const YTargetSelectorJob& other) const override;
    int32_t _intArg;
};

class YIntIntArgJob final : public YTargetSelectorJob {
    YK_OBJECT(YIntIntArgJob, YTargetSelectorJob)
public:
    YIntIntArgJob(Object* target, Selector selector, int32_t value1, int32_t value2);
    int32_t intArg1() const { return _intArg1; }
    int32_t intArg2() const { return _intArg2; }
    void setIntArg1(int32_t value) { _intArg1 = value; }
    void setIntArg2(int32_t value) { _intArg2 = value; }

private:
    void setArguments(Invocation& invocation) const override;
    bool argumentsMatch(const YTargetSelectorJob& other) const override;
    int32_t _intArg1;
    int32_t _intArg2;
};

// Passes a 32-bit float; a method taking a double gets it widened, one taking another kind
// raises NSInvalidArgumentException when the job runs.
class YFloatArgJob final : public YTargetSelectorJob {
    YK_OBJECT(YFloatArgJob, YTargetSelectorJob)
public:
    YFloatArgJob(Object* target, Selector selector, float value);
    float floatArg() const { return _floatArg; }
    void setFloatArg(float value) { _floatArg = value; }

private:
    void setArguments(Invocation& invocation) const override;
    bool argumentsMatch(const YTargetSelectorJob& other) const override;
    float _floatArg;
};

class YDoubleArgJob final : public YTargetSelectorJob {
    YK_OBJECT(YDoubleArgJob, YTargetSelectorJob)
public:
    YDoubleArgJob(Object* target, Selector selector, double value);
    double doubleArg() const { return _doubleArg; }
    void setDoubleArg(double value) { _doubleArg = value; }

private:
    void setArguments(Invocation& invocation) const override;
    bool argumentsMatch(const YTargetSelectorJob& other) const override;
    double _doubleArg;
};

// Runs a prepared invocation (retained); target and selector are the invocation's.
class YInvocationJob final : public YConcreteJob {
    YK_OBJECT(YInvocationJob, YConcreteJob)
public:
    explicit YInvocationJob(Invocation* invocation);
    ~YInvocationJob() override;

    Object* target() const override;
    void setTarget(Object* target) override;
    Selector selector() const override;
    void setSelector(Selector selector) override;
    Ref<Invocation> invocation() const override;

    // Equal invocations, or else the same target and selector; arguments are not compared.
    bool isEqual(const Object* other) const override;

private:
    Ref<Invocation> _invocation;
};

} // namespace yk
