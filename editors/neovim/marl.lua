-- Starts the language server for marl programs. Copy this file to ~/.config/nvim/plugin/marl.lua;
-- marl-lab must be on the PATH. The syntax comes from ../vim.
vim.api.nvim_create_autocmd({ "BufRead", "BufNewFile" }, {
  pattern = "*.marl",
  callback = function(event)
    vim.bo[event.buf].filetype = "marl"
    local client = vim.lsp.start_client({ name = "marl-lab", cmd = { "marl-lab", "serve" } })
    vim.lsp.buf_attach_client(event.buf, client)
  end,
})
