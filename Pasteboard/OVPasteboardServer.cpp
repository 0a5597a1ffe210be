namespace orvane {} // namespace orvane
