// What the framework's lower rooms must know of the product, which they can't see: its names, its
// version and the version of its files.
#pragma once

#include <string>

namespace tarn {

class ProductIdentity {
public:
    virtual ~ProductIdentity() = default;

    virtual std::string getVendorName() const = 0;

    /// Names the log file, the product's folders and the creator of saved files.
    virtual std::string getProductName() const = 0;

    /// What messages to the user call the product.
    virtual std::string getDisplayName() const { return getProductName(); }

    /// As in "1.2.0".
    virtual std::string getVersionText() const = 0;

    /// The newest file format that the product can load and the one that it writes, as the text of
    /// a version.
    virtual std::string getFileFormatText() const = 0;

    /// The log's folder below the user's local application data; empty for that folder itself.
    virtual std::string getLogFolder() const = 0;

    /// The log's opening line.
    virtual std::string getBanner() const = 0;

    /// The running product; a nameless one until another is set. Any thread.
    static const ProductIdentity& get() noexcept;

    /// Puts the product in place, which must outlive its use; null brings the nameless one back.
    /// Before threads are started, and in tests.
    static void set(const ProductIdentity* product) noexcept;
};

}  // namespace tarn
