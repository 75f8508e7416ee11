-- Serves marl programs by marl-lab: one server for all buffers. Copy this file to
-- ~/.config/nvim/plugin/marl.lua; marl-lab must be on the PATH. The syntax comes from ../vim.
--
-- CTRL-X CTRL-O completes. Two globals can be set before a program is opened: g:marl_server, the
-- program that serves, and g:marl_format_on_save, which lays a program out whenever it is written.
local server

-- The server's id; it is started when none runs.
local function running_server()
  if not (server and vim.lsp.get_client_by_id(server)) then
    server = vim.lsp.start_client({
      name = "marl-lab",
      cmd = { vim.g.marl_server or "marl-lab", "serve" },
      on_exit = function() server = nil end,
    })
  end
  return server
end

local function format(buffer)
  local parameters = vim.lsp.util.make_formatting_params({})
  local answers = vim.lsp.buf_request_sync(buffer, "textDocument/formatting", parameters, 2000)
  for id, answer in pairs(answers or {}) do
    if id == server and answer.result then
      vim.lsp.util.apply_text_edits(answer.result, buffer, "utf-16")
    end
  end
end

local group = vim.api.nvim_create_augroup("marl", {})

vim.api.nvim_create_autocmd({ "BufRead", "BufNewFile" }, {
  group = group,
  pattern = "*.marl",
  callback = function(event)
    vim.bo[event.buf].filetype = "marl"
    local id = running_server()
    if not id then return end
    -- A buffer that is read anew is attached still.
    if not vim.lsp.buf_is_attached(event.buf, id) then vim.lsp.buf_attach_client(event.buf, id) end
    vim.bo[event.buf].omnifunc = "v:lua.vim.lsp.omnifunc"
  end,
})

vim.api.nvim_create_autocmd("BufWritePre", {
  group = group,
  pattern = "*.marl",
  callback = function(event)
    if vim.g.marl_format_on_save and server then format(event.buf) end
  end,
})
